#include "lib/qpdf/SinkPipeline.h"

#include <algorithm>

namespace korvane {

namespace {

constexpr std::size_t chunkSize = std::size_t{256} * 1024;

} // namespace

SinkPipeline::SinkPipeline(const PDFSink& sink) : Pipeline("sink", nullptr), sink_(sink)
{
    gathered_.reserve(chunkSize);
}

void SinkPipeline::write(const unsigned char* bytes, std::size_t count)
{
    std::span<const std::uint8_t> rest(bytes, count);
    while (!rest.empty()) {
        const auto part = rest.first(std::min(rest.size(), chunkSize - gathered_.size()));
        gathered_.insert(gathered_.end(), part.begin(), part.end());
        rest = rest.subspan(part.size());
        if (gathered_.size() == chunkSize) send();
    }
}

Result<void, SystemError> SinkPipeline::close()
{
    send();
    if (error_) return failure(*error_);
    return {};
}

void SinkPipeline::send()
{
    if (!error_) {
        const auto sent = sink_(gathered_);
        if (!sent) error_ = sent.error();
    }
    gathered_.clear();
}

} // namespace korvane
