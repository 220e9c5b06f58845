#pragma once

#include "base/Data.h"
#include "base/Result.h"
#include "page/BitmapSize.h"
#include "page/PageInfo.h"

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
 * documents are repaired as far as Poppler can.
 */
class PDFReader {
public:
    enum class Failure { notReadable, needsPassword };

    /** A rendered page in shades of gray, one byte a pixel. */
    struct Bitmap {
        /** The resolution is less than was asked for where that would be too many pixels. */
        BitmapSize size;
        /** Gives a row, counted from the top, which lives as long as this function. */
        std::function<std::span<const std::uint8_t>(int row)> row;
    };

    static Result<PDFReader, Failure> open(Data pdf);

    PDFReader(PDFReader&&) noexcept;
    PDFReader& operator=(PDFReader&&) noexcept;
    ~PDFReader();

    std::size_t pageCount() const;

    PageInfo readPage(std::size_t page) const;

    /**
     * The page as a viewer shows it over white: the whole media box, turned by the page's /Rotate.
     * Each side is that of the box at this resolution, to the nearest pixel. Nothing when that is
     * 0, or when the page cannot be rendered.
     */
    std::optional<Bitmap> render(std::size_t page, double resolution) const;

private:
    PDFReader(Data pdf, std::unique_ptr<poppler::document> document);

    /** The document reads from these bytes for as long as it lives. */
    Data pdf_;
    std::unique_ptr<poppler::document> document_;
};

} // namespace korvane
