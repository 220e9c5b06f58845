#include "platform/wire/FrameDecoder.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t readSize = std::size_t{256} << 10;

std::uint32_t number32(std::span<const std::uint8_t> bytes)
{
    return bytes[0] | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
           std::uint32_t{bytes[3]} << 24;
}

} // namespace

std::span<std::uint8_t> FrameDecoder::room()
{
    if (!header_) return std::span(headerBytes_).subspan(headerSize_);
    return payload_.prepare(std::min(header_->length - payload_.size(), readSize));
}

FrameDecoder::Progress FrameDecoder::received(std::size_t count,
                                              std::vector<FileDescriptor> descriptors)
{
    std::ranges::transform(std::move(descriptors), std::back_inserter(descriptors_),
                           [](FileDescriptor& file) { return share(std::move(file)); });
    if (descriptors_.size() > maximumDescriptors_) return Progress::broken;
    if (header_) {
        payload_.commit(count);
    } else {
        headerSize_ += count;
        if (headerSize_ < FrameHeader::size) return Progress::needMore;
        if (!decodeHeader()) return Progress::broken;
    }
    if (payload_.size() < header_->length) return Progress::needMore;
    return descriptors_.size() == header_->descriptors ? Progress::whole : Progress::broken;
}

bool FrameDecoder::decodeHeader()
{
    const FrameHeaderBytes& bytes = headerBytes_;
    header_ = FrameHeader{
        .length = number32(bytes),
        .number = number32(std::span(bytes).subspan(4)),
        .code = static_cast<std::uint16_t>(bytes[8] | bytes[9] << 8),
        .descriptors = bytes[10],
    };
    return bytes[11] == FrameHeader::mark && header_->length <= WorkerMessage::maximumPayload &&
           header_->descriptors <= maximumDescriptors_;
}

WorkerMessage FrameDecoder::take()
{
    headerSize_ = 0;
    const FrameHeader header = *std::exchange(header_, std::nullopt);
    return {.code = header.code,
            .number = header.number,
            .payload = payload_.take(),
            .descriptors = std::exchange(descriptors_, {})};
}

} // namespace korvane
