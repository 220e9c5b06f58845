#pragma once

#include "base/Result.h"
#include "base/SystemError.h"
#include "pdf/BufferedOutput.h"
#include "pdf/ImagePage.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace korvane {

/** Of 1, 3 or 4 components: gray, RGB or CMYK. */
std::string_view deviceColorSpace(std::size_t components);

/** Writes a PDF document (ISO 32000-1), object after object, of pages that show one image each.
 *  Throws std::bad_alloc, and the document is lost then. */
class PDFObjectWriter {
public:
    /** Objects refer to each other by number. */
    using ObjectNumber = std::size_t;

    explicit PDFObjectWriter(BufferedOutput::Sink output);

    ObjectNumber addObject(std::string_view content);

    /** `entries` are those of the stream's dictionary but for its length. */
    ObjectNumber addStream(std::string_view entries, std::span<const std::uint8_t> content);

    /** The color space of an ICC profile with 1, 3 or 4 components. */
    ObjectNumber addColorSpace(std::size_t components, std::span<const std::uint8_t> profile);

    void addPage(const ImagePage& page, ObjectNumber image);

    /** The bytes written so far. */
    std::uint64_t size() const { return pdf_.size(); }

    /** Fails once the output has failed. */
    const Result<void, SystemError>& status() const { return pdf_.status(); }

    /** Ends the document, and tells whether the output took all of it; the writer is used up. */
    Result<void, SystemError> finish();

private:
    ObjectNumber newObject();
    void beginObject(ObjectNumber number);
    void endObject();

    BufferedOutput pdf_;
    std::vector<std::uint64_t> objectOffsets_;
    std::vector<ObjectNumber> pages_;
    ObjectNumber catalog_;
    ObjectNumber pageTree_;
};

} // namespace korvane
