#pragma once

#include "base/Data.h"

#include <cups/raster.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <vector>

namespace korvane::test {

/** Has libcups write a raster document, as CUPS and the clients built on it send them. */
class CupsRaster {
public:
    struct Page {
        cups_cspace_t colorSpace = CUPS_CSPACE_SRGB;
        unsigned width = 0;
        unsigned height = 0;
        unsigned horizontalResolution = 72;
        unsigned verticalResolution = 72;

        unsigned bitsPerPixel() const
        {
            if (colorSpace == CUPS_CSPACE_SRGB) return 24;
            return colorSpace == CUPS_CSPACE_K ? 1 : 8;
        }
        unsigned rowSize() const { return (width * bitsPerPixel() + 7) / 8; }
    };

    /** `mode` is CUPS_RASTER_WRITE_APPLE, which makes URF, or CUPS_RASTER_WRITE_PWG. */
    explicit CupsRaster(cups_mode_t mode, unsigned pageCount = 0)
        : pageCount_(pageCount), raster_(cupsRasterOpenIO(write, &bytes_, mode))
    {
    }
    CupsRaster(const CupsRaster&) = delete;
    CupsRaster& operator=(const CupsRaster&) = delete;
    ~CupsRaster() { cupsRasterClose(raster_); }

    /** A page with these pixels; with fewer, what has been written so far ends within the page. */
    CupsRaster& page(const Page& page, std::span<const std::uint8_t> pixels)
    {
        cups_page_header2_t header{};
        header.HWResolution[0] = page.horizontalResolution;
        header.HWResolution[1] = page.verticalResolution;
        header.cupsWidth = page.width;
        header.cupsHeight = page.height;
        header.cupsBitsPerColor = page.colorSpace == CUPS_CSPACE_K ? 1 : 8;
        header.cupsBitsPerPixel = page.bitsPerPixel();
        header.cupsBytesPerLine = page.rowSize();
        header.cupsColorSpace = page.colorSpace;
        header.cupsNumColors = page.colorSpace == CUPS_CSPACE_SRGB ? 3 : 1;
        header.cupsInteger[CUPS_RASTER_PWG_TotalPageCount] = pageCount_;
        std::vector<std::uint8_t> copy(pixels.begin(), pixels.end());
        const auto size = static_cast<unsigned>(copy.size());
        if (cupsRasterWriteHeader2(raster_, &header) == 0 ||
            (size > 0 && cupsRasterWritePixels(raster_, copy.data(), size) != size))
            throw std::runtime_error(cupsRasterErrorString());
        return *this;
    }

    /** Bytes that stand for the next pixels, as nobody says that libcups writes them. */
    CupsRaster& raw(std::span<const std::uint8_t> bytes)
    {
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
        return *this;
    }

    Data document() const { return Data::copying(bytes_); }

private:
    static ssize_t write(void* context, unsigned char* buffer, std::size_t length)
    {
        auto& bytes = *static_cast<std::vector<std::uint8_t>*>(context);
        bytes.insert(bytes.end(), buffer, buffer + length);
        return static_cast<ssize_t>(length);
    }

    std::vector<std::uint8_t> bytes_;
    unsigned pageCount_;
    cups_raster_t* raster_;
};

} // namespace korvane::test
