#pragma once

#include "platform/base/Data.h"
#include "platform/base/FileDescriptor.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace korvane {

/** What the agent asks of a worker process, and what that answers. */
struct WorkerMessage {
    static constexpr std::size_t maximumPayload = std::size_t{64} << 20;
    static constexpr std::size_t maximumDescriptors = 4;

    /** In a request the operation; in an answer 0, or why there is none. */
    std::uint16_t code = 0;
    /** An answer has the number of its request, so that none is taken for another's. */
    std::uint32_t number = 0;
    /** At most `maximumPayload` bytes, made by a WireWriter and read by a WireReader. */
    Data payload;
    /** At most `maximumDescriptors`, all of them open, and only towards the worker: an answer that
     * brings any is refused, and what it brought closed. */
    std::vector<SharedDescriptor> descriptors;
};

} // namespace korvane
