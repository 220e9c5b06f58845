#pragma once

#include "platform/wire/WorkerMessage.h"

#include <array>
#include <cstdint>
#include <span>

namespace korvane {

/** What comes before each message's payload: its length and the message's number (4 bytes each,
 *  little-endian), the message's code (2 bytes), the count of its descriptors, and a byte that
 * tells a frame from noise. */
struct FrameHeader {
    static constexpr std::size_t size = 12;
    static constexpr std::uint8_t mark = 0x4B;

    std::uint32_t length = 0;
    std::uint32_t number = 0;
    std::uint16_t code = 0;
    std::uint8_t descriptors = 0;
};

using FrameHeaderBytes = std::array<std::uint8_t, FrameHeader::size>;

/** The header of `message`, which is within a message's bounds. */
FrameHeaderBytes encodeHeader(const WorkerMessage& message);

bool isWithinBounds(const WorkerMessage& message);

} // namespace korvane
