#pragma once

#include "base/ByteBuffer.h"
#include "base/FileDescriptor.h"
#include "workerpool/WorkerMessage.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace korvane {

/** What precedes each message's payload on the socket, in the byte order of this machine. */
struct FrameHeader {
    static constexpr std::uint8_t magic = 0x4B;

    /** Of the payload. */
    std::uint32_t length = 0;
    std::uint32_t number = 0;
    /** In milliseconds. */
    std::uint32_t limit = 0;
    std::uint16_t code = 0;
    /** How many descriptors come along. */
    std::uint8_t descriptors = 0;
    std::uint8_t mark = magic;
};

using FrameHeaderBytes = std::array<std::uint8_t, 16>;
static_assert(sizeof(FrameHeader) == sizeof(FrameHeaderBytes));

/** The header of `message`, which is within a message's bounds. */
FrameHeaderBytes encodeHeader(const WorkerMessage& message);

/** Whether the message can be sent: neither its payload nor its descriptors are too many, and all
 *  of these are open. */
bool isWithinBounds(const WorkerMessage& message);

/**
 * Decodes messages from a stream of bytes: read up to `room()` bytes into it, and tell it how many
 * came. Memory grows with the bytes received, not with the length that was announced.
 */
class FrameDecoder {
public:
    enum class Progress { needMore, complete, invalid };

    /** `maxDescriptors` is how many a message may bring. */
    explicit FrameDecoder(std::size_t maxDescriptors) : maxDescriptors_(maxDescriptors) {}

    /** Where the next bytes belong; never empty before the message is complete. */
    std::span<std::uint8_t> room();

    /** `count` bytes were read into the room, and these descriptors came with them. */
    Progress received(std::size_t count, std::vector<FileDescriptor> descriptors);

    /** The complete message; the decoder waits for the next one. */
    WorkerMessage take();

private:
    FrameHeader header() const { return std::bit_cast<FrameHeader>(headerBytes_); }
    bool hasHeader() const { return headerSize_ == headerBytes_.size(); }

    std::size_t maxDescriptors_;
    FrameHeaderBytes headerBytes_{};
    std::size_t headerSize_ = 0;
    ByteBuffer payload_;
    std::vector<SharedDescriptor> descriptors_;
};

} // namespace korvane
