#include "workerpool/Frame.h"

#include <algorithm>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t readSize = std::size_t{256} << 10;

} // namespace

FrameHeaderBytes encodeHeader(const WorkerMessage& message)
{
    return std::bit_cast<FrameHeaderBytes>(
        FrameHeader{.length = static_cast<std::uint32_t>(message.payload.size()),
                    .number = message.number,
                    .limit = static_cast<std::uint32_t>(message.limit.count()),
                    .code = message.code,
                    .descriptors = static_cast<std::uint8_t>(message.descriptors.size())});
}

bool isWithinBounds(const WorkerMessage& message)
{
    return message.payload.size() <= WorkerMessage::maxPayload &&
           message.descriptors.size() <= WorkerMessage::maxDescriptors &&
           std::ranges::all_of(message.descriptors,
                               [](const SharedDescriptor& file) { return file && *file; });
}

std::span<std::uint8_t> FrameDecoder::room()
{
    if (!hasHeader()) return std::span(headerBytes_).subspan(headerSize_);
    return payload_.prepare(std::min(header().length - payload_.size(), readSize));
}

FrameDecoder::Progress FrameDecoder::received(std::size_t count,
                                              std::vector<FileDescriptor> descriptors)
{
    for (FileDescriptor& file : descriptors) descriptors_.push_back(share(std::move(file)));
    if (descriptors_.size() > maxDescriptors_) return Progress::invalid;
    if (hasHeader()) {
        payload_.commit(count);
    } else {
        headerSize_ += count;
        if (!hasHeader()) return Progress::needMore;
    }
    const FrameHeader header = this->header();
    if (header.mark != FrameHeader::magic || header.length > WorkerMessage::maxPayload)
        return Progress::invalid;
    if (payload_.size() < header.length) return Progress::needMore;
    return descriptors_.size() == header.descriptors ? Progress::complete : Progress::invalid;
}

WorkerMessage FrameDecoder::take()
{
    const FrameHeader taken = header();
    headerSize_ = 0;
    return {.code = taken.code,
            .number = taken.number,
            .limit = std::chrono::milliseconds(taken.limit),
            .payload = payload_.take(),
            .descriptors = std::exchange(descriptors_, {})};
}

} // namespace korvane
