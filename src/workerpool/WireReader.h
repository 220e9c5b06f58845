#pragma once

#include "base/Data.h"
#include "base/DocumentFile.h"
#include "base/FileDescriptor.h"
#include "workerpool/WorkerMessage.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace korvane {

/**
 * Reads what a WireWriter wrote. The other side may be hostile: whatever does not fit makes the
 * reader fail, and from then on every value is empty and every count 0, so that a caller reads all
 * that it expects and asks `finished` once, at the end.
 */
class WireReader {
public:
    /** Takes the message's descriptors; those that are not read are closed with the reader. */
    explicit WireReader(WorkerMessage message);

    std::uint8_t u8() { return number<std::uint8_t>(); }
    std::uint64_t u64() { return number<std::uint64_t>(); }
    std::int32_t i32() { return number<std::int32_t>(); }
    double f64() { return number<double>(); }
    /** Anything but 0 and 1 fails. */
    bool boolean();
    std::string string();
    /** Not mapped yet; without a file when the reader has failed. */
    DocumentFile document();
    /** None when the reader has failed. */
    SharedDescriptor descriptor();

    /** How many elements follow. Fails when fewer bytes are left than so many elements of at least
     *  `elementSize` bytes take, so that a list can be reserved without further checks. */
    std::size_t count(std::size_t elementSize = 1);

    bool failed() const { return failed_; }

    /** True when everything was read and nothing failed or is left over. */
    bool finished() const { return !failed_ && rest_.empty(); }

    /** The caller has found a value that is out of its range. */
    void fail();

private:
    template <typename Number>
    Number number()
    {
        const Data bytes = take(sizeof(Number));
        Number value{};
        if (!bytes.empty()) std::memcpy(&value, bytes.bytes().data(), sizeof value);
        return value;
    }
    Data take(std::size_t count);

    Data rest_;
    std::vector<SharedDescriptor> descriptors_;
    bool failed_ = false;
};

} // namespace korvane
