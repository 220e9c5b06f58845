#include "raster/PixelStream.h"

#include "raster/RunLength.h"

namespace korvane {

namespace {

void repeatLast(ByteBuffer& pixels, std::size_t size, std::size_t times)
{
    const std::span<std::uint8_t> room = pixels.prepare(size * times);
    repeatPrefix({room.data() - size, size + room.size()}, size);
    pixels.commit(room.size());
}

} // namespace

void PixelStream::begin(std::size_t size)
{
    coded_.consume(coded_.size());
    plain_.consume(plain_.size());
    size_ = size;
    runLengthCoded_ = true;
}

void PixelStream::append(std::span<const std::uint8_t> row, std::size_t count)
{
    if (runLengthCoded_ && !appendCoded(row, count)) changeToPlainPixels();
    if (runLengthCoded_) return;
    plain_.append(row);
    repeatLast(plain_, row.size(), count - 1);
}

void PixelStream::end()
{
    if (runLengthCoded_) coded_.append(runlength::endOfData);
}

bool PixelStream::appendCoded(std::span<const std::uint8_t> row, std::size_t count)
{
    const std::size_t size = runlength::encode(row, coded_.prepare(runlength::bound(row.size())));
    if (size > (size_ / 2 - coded_.size()) / count) return false;
    coded_.commit(size);
    repeatLast(coded_, size, count - 1);
    return true;
}

void PixelStream::changeToPlainPixels()
{
    plain_.reserve(size_);
    runlength::decode(coded_.bytes(), plain_);
    runLengthCoded_ = false;
}

} // namespace korvane
