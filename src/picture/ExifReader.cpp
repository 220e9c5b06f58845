#include "picture/ExifReader.h"

#include <algorithm>

namespace korvane {

namespace {

enum Tag : std::uint32_t {
    orientationTag = 0x0112,
    xResolutionTag = 0x011A,
    yResolutionTag = 0x011B,
    resolutionUnitTag = 0x0128,
};

enum Type : std::uint32_t { shortType = 3, rationalType = 5 };

constexpr std::size_t entrySize = 12;

/** A TIFF directory, whose numbers are in either byte order. What lies outside of the file is 0. */
class TIFFDirectory {
public:
    explicit TIFFDirectory(std::span<const std::uint8_t> tiff) : tiff_(tiff)
    {
        isBigEndian_ = !tiff.empty() && tiff[0] == 'M';
        if (number(0, 2) != (isBigEndian_ ? 0x4D4D : 0x4949) || number(2, 2) != 42) return;
        start_ = number(4, 4);
        entries_ = number(start_, 2);
    }

    /** The first value of an entry that has this type. */
    std::optional<double> value(Tag tag, Type type) const
    {
        for (std::size_t at = start_ + 2, end = at + entries_ * entrySize;
             at < std::min(end, tiff_.size()); at += entrySize) {
            if (number(at, 2) == tag && number(at + 2, 2) == type) return valueAt(at + 8, type);
        }
        return std::nullopt;
    }

private:
    double valueAt(std::size_t field, Type type) const
    {
        if (type == shortType) return static_cast<double>(number(field, 2));
        const std::size_t offset = number(field, 4);
        const auto numerator = static_cast<double>(number(offset, 4));
        const auto denominator = static_cast<double>(number(offset + 4, 4));
        return denominator == 0 ? 0 : numerator / denominator;
    }

    std::size_t number(std::size_t offset, std::size_t size) const
    {
        if (offset > tiff_.size() || size > tiff_.size() - offset) return 0;
        std::size_t number = 0;
        for (std::size_t place = 0; place < size; ++place)
            number = number << 8 | tiff_[offset + (isBigEndian_ ? place : size - 1 - place)];
        return number;
    }

    std::span<const std::uint8_t> tiff_;
    bool isBigEndian_ = false;
    std::size_t start_ = 0;
    std::size_t entries_ = 0;
};

/** The unit is the inch unless the centimeter is stated; 1 is none at all. */
double unitsPerInch(double unit)
{
    return unit == 2 ? 1 : unit == 3 ? 2.54 : 0;
}

} // namespace

ExifData readExif(std::span<const std::uint8_t> tiff)
{
    const TIFFDirectory directory(tiff);
    ExifData exif;
    const double orientation = directory.value(orientationTag, shortType).value_or(1);
    if (orientation >= 1 && orientation <= 8)
        exif.orientation = static_cast<std::size_t>(orientation);
    const auto x = directory.value(xResolutionTag, rationalType);
    const auto y = directory.value(yResolutionTag, rationalType);
    if (!x || !y) return exif;
    const double scale = unitsPerInch(directory.value(resolutionUnitTag, shortType).value_or(2));
    exif.density = Density{.x = *x * scale, .y = *y * scale};
    return exif;
}

} // namespace korvane
