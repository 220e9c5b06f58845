#pragma once

#include "spool/Spool.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>

namespace korvane {

/** What documents that are arriving will still take in the spool, so that together they fit. Used
 *  on the server's queue only. */
class SpoolRoom {
public:
    explicit SpoolRoom(const Spool& spool) : spool_(spool) {}

    /** What one document is expected to take; taken back as it is written, and at its end. */
    class Share {
    public:
        explicit Share(std::shared_ptr<SpoolRoom> room) : room_(std::move(room)) {}
        Share(const Share&) = delete;
        Share& operator=(const Share&) = delete;
        ~Share() { shrink(bytes_); }

        std::uint64_t bytes() const { return bytes_; }

        /** Expects so many bytes more; false if there is no room for all that is expected. */
        bool grow(std::uint64_t bytes)
        {
            bytes_ += bytes;
            room_->expected_ += bytes;
            return room_->spool_.hasRoom(room_->expected_);
        }

        /** So many bytes have been written. */
        void shrink(std::uint64_t bytes)
        {
            bytes = std::min(bytes, bytes_);
            bytes_ -= bytes;
            room_->expected_ -= bytes;
        }

    private:
        const std::shared_ptr<SpoolRoom> room_;
        std::uint64_t bytes_ = 0;
    };

private:
    const Spool& spool_;
    std::uint64_t expected_ = 0;
};

} // namespace korvane
