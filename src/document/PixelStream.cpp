#include "document/PixelStream.h"

#include "document/RunLength.h"

#include <utility>

namespace korvane {

void PixelStream::begin(std::size_t size)
{
    pixels_.consume(pixels_.size());
    codedSizeLimit_ = size / 2;
    runLengthCoded_ = true;
}

void PixelStream::append(std::span<const std::uint8_t> row, std::size_t count)
{
    if (runLengthCoded_ && !appendCoded(row, count)) changeToPlainPixels();
    if (runLengthCoded_) return;
    pixels_.append(row);
    repeatLast(row.size(), count - 1);
}

void PixelStream::end()
{
    if (runLengthCoded_) pixels_.append(runlength::endOfData);
}

bool PixelStream::appendCoded(std::span<const std::uint8_t> row, std::size_t count)
{
    const std::size_t size = runlength::encode(row, pixels_.prepare(runlength::bound(row.size())));
    if (size > (codedSizeLimit_ - pixels_.size()) / count) return false;
    pixels_.commit(size);
    repeatLast(size, count - 1);
    return true;
}

void PixelStream::changeToPlainPixels()
{
    const ByteBuffer coded = std::exchange(pixels_, ByteBuffer());
    runlength::decode(coded.bytes(), pixels_);
    runLengthCoded_ = false;
}

void PixelStream::repeatLast(std::size_t size, std::size_t times)
{
    const std::span<std::uint8_t> room = pixels_.prepare(size * times);
    repeatPrefix({room.data() - size, size + room.size()}, size);
    pixels_.commit(room.size());
}

} // namespace korvane
