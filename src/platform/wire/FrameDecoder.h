#pragma once

#include "platform/base/ByteBuffer.h"
#include "platform/base/FileDescriptor.h"
#include "platform/wire/Frame.h"
#include "platform/wire/WorkerMessage.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace korvane {

/**
 * Puts one message together from the bytes of a stream: read up to `room()` bytes into it, and say
 * what came. Memory grows with the bytes that came, not with the length that was announced.
 */
class FrameDecoder {
public:
    enum class Progress { needMore, whole, broken };

    /** A message may bring so many descriptors. */
    explicit FrameDecoder(std::size_t maximumDescriptors) : maximumDescriptors_(maximumDescriptors)
    {
    }

    /** Where the next bytes belong; never empty before the message is whole. */
    std::span<std::uint8_t> room();

    /** `count` bytes were read into the room, and these descriptors came with them. */
    Progress received(std::size_t count, std::vector<FileDescriptor> descriptors);

    /** The whole message; the decoder waits for the next one. */
    WorkerMessage take();

private:
    bool decodeHeader();

    std::size_t maximumDescriptors_;
    FrameHeaderBytes headerBytes_{};
    std::size_t headerSize_ = 0;
    std::optional<FrameHeader> header_;
    ByteBuffer payload_;
    std::vector<SharedDescriptor> descriptors_;
};

} // namespace korvane
