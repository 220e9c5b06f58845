#pragma once

#include "base/Data.h"
#include "base/FileDescriptor.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace korvane {

/** A request to a worker process, or the answer to it. */
struct WorkerMessage {
    static constexpr std::size_t maxPayload = std::size_t{64} << 20;
    static constexpr std::size_t maxDescriptors = 4;

    /** In a request the operation; in an answer 0, or the reason of a refusal. */
    std::uint16_t code = 0;
    /** An answer has the number of its request. */
    std::uint32_t number = 0;
    /** In a request what it may take, after which the worker is killed; in an answer 0. At most 49
     *  days. */
    std::chrono::milliseconds limit{0};
    /** At most `maxPayload` bytes, made by a WireWriter and read by a WireReader. */
    Data payload;
    /** At most `maxDescriptors`, all of them open, and only to the worker: an answer that brings
     *  any is invalid, and they are closed. */
    std::vector<SharedDescriptor> descriptors;
};

} // namespace korvane
