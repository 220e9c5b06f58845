#pragma once

#include "base/Data.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <utility>

namespace korvane {

/**
 * Counts the bytes of documents for as long as they are kept, wherever they have been handed:
 * in an unfinished job, waiting to be converted, or waiting for the disk. Safe from any thread.
 */
class MemoryQuota {
public:
    /** The same bytes; counted, all of them, until the last copy or slice of the result is gone. */
    Data track(const Data& data) const
    {
        if (data.empty()) return data;
        return {std::make_shared<Share>(count_, data), data.bytes()};
    }

    std::size_t total() const { return *count_; }

private:
    using Count = std::shared_ptr<std::atomic<std::size_t>>;

    struct Share {
        Share(Count total, Data kept) : count(std::move(total)), data(std::move(kept))
        {
            *count += data.size();
        }
        Share(const Share&) = delete;
        Share& operator=(const Share&) = delete;
        ~Share() { *count -= data.size(); }

        Count count;
        Data data;
    };

    Count count_ = std::make_shared<std::atomic<std::size_t>>(0);
};

} // namespace korvane
