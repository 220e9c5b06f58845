#pragma once

#include "base/ByteBuffer.h"
#include "base/Result.h"
#include "base/SystemError.h"
#include "lib/deflate/ZlibCompressor.h"
#include "pdf/PDFObjectWriter.h"
#include "raster/PixelStream.h"
#include "raster/RasterPage.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>

namespace korvane {

/**
 * Writes a PDF document (ISO 32000-1) of raster pages, keeping no more than one page in memory.
 * Every page shows one image, which fills it at the raster's resolution. Each operation may throw
 * std::bad_alloc, and the document is lost then.
 */
class RasterPDFWriter {
public:
    explicit RasterPDFWriter(BufferedOutput::Sink output);

    void beginPage(const RasterPage& page);

    /** The next `count` rows of the page from the top, all alike and each of the page's row size.
     */
    void addRows(std::span<const std::uint8_t> row, std::size_t count);

    /** Ends the page, all of whose rows have been added. Fails once the output has failed. */
    Result<void, SystemError> endPage();

    /** The bytes written so far; those of the page being added count from `endPage` on. */
    std::uint64_t size() const { return pdf_.size(); }

    /** Ends the document, and tells whether the output took all of it; the writer is used up. */
    Result<void, SystemError> finish();

private:
    using ObjectNumber = PDFObjectWriter::ObjectNumber;

    /** The entries of an image that say what its values mean. */
    std::string colorEntries(RasterPage::Color color);
    ObjectNumber colorSpace(RasterPage::Color color);
    ObjectNumber addImage();

    PDFObjectWriter pdf_;
    std::map<RasterPage::Color, ObjectNumber> colorSpaces_;
    RasterPage page_;
    PixelStream pixels_;
    ByteBuffer compressed_;
    ZlibCompressor compressor_;
};

} // namespace korvane
