#pragma once

#include "platform/base/Data.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <vector>

namespace korvane::test {

/** Pixels of one page, rows from top to bottom. */
struct Raster {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::size_t bytesPerPixel = 3;
    std::vector<std::uint8_t> pixels = std::vector<std::uint8_t>(width * bytesPerPixel * height);

    std::size_t rowSize() const { return width * bytesPerPixel; }
    std::span<const std::uint8_t> row(std::size_t y) const
    {
        return std::span(pixels).subspan(y * rowSize(), rowSize());
    }
};

struct URFPage {
    std::uint8_t bitsPerPixel = 24;
    std::uint8_t colorSpace = 3;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t resolution = 300;
};

/** Writes URF documents, right ones and wrong ones. */
class URFBuilder {
public:
    explicit URFBuilder(std::uint32_t pageCount)
    {
        raw({'U', 'N', 'I', 'R', 'A', 'S', 'T', 0});
        number(pageCount);
    }

    URFBuilder& page(const URFPage& header)
    {
        raw({header.bitsPerPixel, header.colorSpace, 1, 4, 0, 0, 0, 0});
        number(header.width);
        number(header.height);
        number(header.resolution);
        return raw({9, 9, 9, 9, 9, 9, 9, 9});
    }

    URFBuilder& raw(std::initializer_list<std::uint8_t> bytes)
    {
        bytes_.insert(bytes_.end(), bytes);
        return *this;
    }

    /** A page coded as clients do it: equal rows once, runs of two pixels and more as runs. */
    URFBuilder& page(const Raster& raster, std::uint32_t resolution)
    {
        const bool color = raster.bytesPerPixel == 3;
        page({.bitsPerPixel = static_cast<std::uint8_t>(color ? 24 : 8),
              .colorSpace = static_cast<std::uint8_t>(color ? 3 : 1),
              .width = raster.width,
              .height = raster.height,
              .resolution = resolution});
        for (std::size_t y = 0; y < raster.height;) {
            std::size_t next = y + 1;
            while (next < raster.height && next - y < 256 &&
                   std::ranges::equal(raster.row(y), raster.row(next))) {
                ++next;
            }
            bytes_.push_back(static_cast<std::uint8_t>(next - y - 1));
            line(raster.row(y), raster.bytesPerPixel);
            y = next;
        }
        return *this;
    }

    Data build() const { return Data(bytes_); }

private:
    void number(std::uint32_t value)
    {
        for (int shift = 24; shift >= 0; shift -= 8) {
            bytes_.push_back(static_cast<std::uint8_t>(value >> shift));
        }
    }

    void line(std::span<const std::uint8_t> row, std::size_t pixelSize)
    {
        const std::size_t width = row.size() / pixelSize;
        const auto pixel = [&](std::size_t x) { return row.subspan(x * pixelSize, pixelSize); };
        const auto runEnd = [&](std::size_t x) {
            std::size_t end = x + 1;
            while (end < width && std::ranges::equal(pixel(x), pixel(end))) ++end;
            return end;
        };
        const auto put = [&](std::size_t code, std::size_t from, std::size_t to) {
            bytes_.push_back(static_cast<std::uint8_t>(code));
            const auto bytes = row.subspan(from * pixelSize, (to - from) * pixelSize);
            bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
        };
        for (std::size_t x = 0; x < width;) {
            std::size_t end = runEnd(x);
            if (end == width && end - x > 128) {
                put(0, x, x + 1);
                bytes_.push_back(128);
                return;
            }
            if (end - x > 1) {
                end = std::min(end, x + 128);
                put(257 - (end - x), x, x + 1);
            } else {
                while (end < width && end - x < 128 && runEnd(end) == end + 1) ++end;
                put(end - x - 1, x, end);
            }
            x = end;
        }
    }

    std::vector<std::uint8_t> bytes_;
};

} // namespace korvane::test
