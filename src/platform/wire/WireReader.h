#pragma once

#include "platform/base/Data.h"
#include "platform/base/FileDescriptor.h"
#include "platform/wire/WorkerMessage.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace korvane {

/**
 * Reads what a WireWriter wrote. The other side may be hostile: whatever does not fit makes the
 * reader fail, and from then on every value is empty and every count 0, so that a caller reads all
 * that it expects and asks `finished` once, at the end.
 */
class WireReader {
public:
    /** Takes the message's descriptors; those that are not asked for are closed with the reader. */
    explicit WireReader(WorkerMessage message);

    std::uint8_t u8();
    std::uint16_t u16();
    std::uint32_t u32();
    std::uint64_t u64();
    std::int32_t i32();
    double f64();
    /** Anything but 0 and 1 fails. */
    bool boolean();
    std::string string();
    /** Shares the message's storage. */
    Data data();
    /** Mapped, not copied. */
    Data document();
    /** None when the reader has failed. */
    SharedDescriptor descriptor();

    /** How many elements follow. Fails when as many cannot be there, with `elementSize` bytes the
     *  least that one takes, so that a list can be reserved without further checks. */
    std::size_t count(std::size_t elementSize = 1);

    bool failed() const { return failed_; }

    /** True when all was read and nothing failed or is left over. */
    bool finished() const { return !failed_ && rest_.empty(); }

    /** The caller has found a value that makes no sense. */
    void fail();

private:
    Data take(std::size_t count);
    std::uint64_t number(std::size_t size);

    Data rest_;
    std::vector<SharedDescriptor> descriptors_;
    bool failed_ = false;
};

} // namespace korvane
