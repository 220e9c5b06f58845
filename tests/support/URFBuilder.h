#pragma once

#include "base/Data.h"

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
    std::uint32_t bitsPerPixel = 24;
    std::uint32_t colorSpace = 3;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t resolution = 72;
};

/** Writes URF documents, right ones and wrong ones. */
class URFBuilder {
public:
    /** Begins with "UNIRAST" and a zero byte. */
    explicit URFBuilder(std::uint32_t pageCount) { numbers({0x554E4952, 0x41535400, pageCount}); }

    URFBuilder& raw(std::initializer_list<std::uint8_t> bytes)
    {
        for (const std::uint8_t byte : bytes) bytes_.push_back(byte);
        return *this;
    }

    URFBuilder& page(const URFPage& page)
    {
        return numbers({page.bitsPerPixel << 24 | page.colorSpace << 16 | 0x104, 0, page.width,
                        page.height, page.resolution, 0x09090909, 0x09090909});
    }

    /** A page coded as clients do it: equal rows once, runs of two pixels and more as runs. */
    URFBuilder& page(const Raster& raster, std::uint32_t resolution)
    {
        const bool color = raster.bytesPerPixel == 3;
        page({color ? 24U : 8U, color ? 3U : 1U, raster.width, raster.height, resolution});
        for (std::size_t y = 0, next = 0; y < raster.height; y = next) {
            while (next < raster.height && next - y < 256 &&
                   std::ranges::equal(raster.row(y), raster.row(next))) {
                ++next;
            }
            byte(next - y - 1);
            line(raster.row(y), raster.bytesPerPixel);
        }
        return *this;
    }

    Data build() const { return Data(bytes_); }

private:
    URFBuilder& numbers(std::initializer_list<std::uint32_t> values)
    {
        for (const std::uint32_t value : values) {
            for (int shift = 24; shift >= 0; shift -= 8) byte(value >> shift & 0xFF);
        }
        return *this;
    }

    void byte(std::size_t value) { bytes_.push_back(static_cast<std::uint8_t>(value)); }

    void put(std::size_t code, std::span<const std::uint8_t> bytes)
    {
        byte(code);
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    }

    void line(std::span<const std::uint8_t> row, std::size_t pixelSize)
    {
        const std::size_t width = row.size() / pixelSize;
        const auto pixel = [&](std::size_t x) { return row.subspan(x * pixelSize, pixelSize); };
        const auto run = [&](std::size_t x) {
            std::size_t end = x + 1;
            while (end < width && std::ranges::equal(pixel(x), pixel(end))) ++end;
            return end - x;
        };
        for (std::size_t x = 0, count = 0; x < width; x += count) {
            count = run(x);
            if (count > 128 && x + count == width) {
                put(0, pixel(x));
                byte(128);
            } else if (count > 1) {
                count = std::min<std::size_t>(count, 128);
                put(257 - count, pixel(x));
            } else {
                while (x + count < width && count < 128 && run(x + count) == 1) ++count;
                put(count - 1, row.subspan(x * pixelSize, count * pixelSize));
            }
        }
    }

    std::vector<std::uint8_t> bytes_;
};

} // namespace korvane::test
