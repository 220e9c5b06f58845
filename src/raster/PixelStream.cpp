#include "raster/PixelStream.h"

#include "raster/RunLength.h"

#include <algorithm>
#include <cstring>

namespace korvane {

namespace {

/** What begins a row of differences from the row above (PNG, "Up"). */
constexpr std::uint8_t upTag = 2;

/** The differences of bytes, modulo 256; eight at once, which keep their borrows to themselves. */
void subtract(std::span<const std::uint8_t> bytes, std::span<const std::uint8_t> others,
              std::uint8_t* out)
{
    constexpr std::uint64_t high = UINT64_C(0x8080808080808080);
    std::size_t i = 0;
    for (; i + 8 <= bytes.size(); i += 8) {
        std::uint64_t left = 0;
        std::uint64_t right = 0;
        std::memcpy(&left, &bytes[i], sizeof left);
        std::memcpy(&right, &others[i], sizeof right);
        const std::uint64_t difference =
            ((left | high) - (right & ~high)) ^ ((left ^ ~right) & high);
        std::memcpy(out + i, &difference, sizeof difference);
    }
    for (; i < bytes.size(); ++i) out[i] = static_cast<std::uint8_t>(bytes[i] - others[i]);
}

} // namespace

void PixelStream::begin(const RasterPage& page)
{
    coded_.consume(coded_.size());
    differences_.consume(differences_.size());
    page_ = page;
    maxCodedSize_ = page.color == RasterPage::Color::black
                        ? page.height * runlength::bound(page.rowSize())
                        : page.height * page.rowSize() / 2;
    codedRows_ = 0;
    runLengthCoded_ = true;
}

void PixelStream::append(std::span<const std::uint8_t> row, std::size_t count)
{
    if (runLengthCoded_ && !appendCoded(row, count)) changeToDifferences();
    if (!runLengthCoded_) appendDifferences(row, count);
}

void PixelStream::end()
{
    if (runLengthCoded_) coded_.append(runlength::endOfData);
}

bool PixelStream::appendCoded(std::span<const std::uint8_t> row, std::size_t count)
{
    const std::size_t size = runlength::encode(row, coded_.prepare(runlength::bound(row.size())));
    if (size > (maxCodedSize_ - coded_.size()) / count) return false;
    coded_.commit(size);
    const std::span<std::uint8_t> room = coded_.prepare(size * (count - 1));
    repeatPrefix({room.data() - size, size + room.size()}, size);
    coded_.commit(room.size());
    codedRows_ += count;
    return true;
}

void PixelStream::changeToDifferences()
{
    runLengthCoded_ = false;
    differences_.reserve(page_.height * (page_.rowSize() + 1));
    above_.assign(page_.rowSize(), 0);
    std::vector<std::uint8_t> row(page_.rowSize());
    std::span<const std::uint8_t> coded = coded_.bytes();
    for (; codedRows_ > 0; --codedRows_) {
        runlength::decode(coded, row);
        appendDifferences(row, 1);
    }
}

void PixelStream::appendDifferences(std::span<const std::uint8_t> row, std::size_t count)
{
    const std::size_t size = row.size() + 1;
    const std::span<std::uint8_t> room = differences_.prepare(size * count);
    room[0] = upTag;
    subtract(row, above_, &room[1]);
    for (std::size_t at = size; at < room.size(); at += size) {
        room[at] = upTag;
        std::memset(&room[at + 1], 0, row.size());
    }
    differences_.commit(room.size());
    std::ranges::copy(row, above_.begin());
}

} // namespace korvane
