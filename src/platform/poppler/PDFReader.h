#pragma once

#include "platform/base/Data.h"
#include "platform/base/Result.h"
#include "platform/documents/PageInfo.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>

namespace poppler {
class document;
}

namespace korvane {

/**
 * Reads and renders a PDF document, on the calling thread. Pages are counted from 0. Damaged
 * documents are read as far as they can be.
 */
class PDFReader {
public:
    enum class Failure { notReadable, needsPassword };

    /** A rendered page, row by row from the top. */
    struct Raster {
        int width = 0;
        int height = 0;
        /** Pixels an inch; less than was asked for where that would have been too many pixels. */
        double resolution = 0;
        /** One in shades of grey; in colour three: red, green, blue. */
        std::size_t bytesPerPixel = 1;
        std::function<std::span<const std::uint8_t>(int row)> row;
    };

    static Result<PDFReader, Failure> open(Data pdf);

    PDFReader(PDFReader&&) noexcept;
    PDFReader& operator=(PDFReader&&) noexcept;
    ~PDFReader();

    std::size_t pageCount() const;

    PageInfo readPage(std::size_t page) const;

    /**
     * The page as a viewer shows it over white, the whole media box, turned as the document asks.
     * Each side is the box's length at this resolution, to the nearest pixel. Nothing when that is
     * none, or when the page cannot be rendered.
     */
    std::optional<Raster> render(std::size_t page, double resolution, bool inColor) const;

private:
    PDFReader(Data pdf, std::unique_ptr<poppler::document> document);

    /** The document reads from these bytes for as long as it lives. */
    Data pdf_;
    std::unique_ptr<poppler::document> document_;
};

} // namespace korvane
