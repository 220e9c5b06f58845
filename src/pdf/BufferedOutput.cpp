#include "pdf/BufferedOutput.h"

namespace korvane {

namespace {

constexpr std::size_t pieceSize = std::size_t{1} << 20;

} // namespace

void BufferedOutput::append(std::span<const std::uint8_t> bytes)
{
    size_ += bytes.size();
    if (pending_.size() + bytes.size() > pieceSize) {
        pass(pending_.bytes());
        pending_.consume(pending_.size());
    }
    for (; bytes.size() > pieceSize; bytes = bytes.subspan(pieceSize)) pass(bytes.first(pieceSize));
    pending_.append(bytes);
}

void BufferedOutput::append(std::string_view text)
{
    append(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

Result<void, SystemError> BufferedOutput::flush()
{
    pass(pending_.bytes());
    pending_.consume(pending_.size());
    return passed_;
}

void BufferedOutput::pass(std::span<const std::uint8_t> bytes)
{
    if (passed_ && !bytes.empty()) passed_ = sink_(bytes);
}

} // namespace korvane
