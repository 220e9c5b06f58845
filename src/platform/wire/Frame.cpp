#include "platform/wire/Frame.h"

#include <algorithm>

namespace korvane {

FrameHeaderBytes encodeHeader(const WorkerMessage& message)
{
    const auto length = static_cast<std::uint32_t>(message.payload.size());
    return {static_cast<std::uint8_t>(length),
            static_cast<std::uint8_t>(length >> 8),
            static_cast<std::uint8_t>(length >> 16),
            static_cast<std::uint8_t>(length >> 24),
            static_cast<std::uint8_t>(message.number),
            static_cast<std::uint8_t>(message.number >> 8),
            static_cast<std::uint8_t>(message.number >> 16),
            static_cast<std::uint8_t>(message.number >> 24),
            static_cast<std::uint8_t>(message.code),
            static_cast<std::uint8_t>(message.code >> 8),
            static_cast<std::uint8_t>(message.descriptors.size()),
            FrameHeader::mark};
}

bool isWithinBounds(const WorkerMessage& message)
{
    return message.payload.size() <= WorkerMessage::maximumPayload &&
           message.descriptors.size() <= WorkerMessage::maximumDescriptors &&
           std::ranges::all_of(message.descriptors,
                               [](const SharedDescriptor& file) { return file && *file; });
}

} // namespace korvane
