#pragma once

#include "base/ByteBuffer.h"
#include "raster/RasterPage.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace korvane {

/**
 * The pixel data of one image on its way to the deflate compressor.
 *
 * Printed pages are mostly long runs of white, and the compressor spends most of its time walking
 * them. So rows are kept run-length coded: a page of text shrinks twenty-fold before deflate sees
 * it, a repeated row costs its few coded bytes, and the deflated result is a third smaller than
 * that of the plain pixels. Where the coding does not at least halve the image (photographs,
 * colored paper) the stream changes over to rows of differences from the row above, which
 * compress better. Bits have no such differences, and stay run-length coded.
 */
class PixelStream {
public:
    /** Starts over with the image of the page, keeping the memory of the one before. */
    void begin(const RasterPage& page);

    /** Appends `row`, `count` times (at least once). Throws std::bad_alloc. */
    void append(std::span<const std::uint8_t> row, std::size_t count);

    /** Ends the data. */
    void end();

    /** The data so far; valid until the next change. */
    std::span<const std::uint8_t> bytes() const
    {
        return runLengthCoded_ ? coded_.bytes() : differences_.bytes();
    }

    /** Whether the data is coded for the RunLengthDecode filter, or as the PNG predictor "Up" has
     *  it (ISO 32000-1, 7.4.4.4). */
    bool isRunLengthCoded() const { return runLengthCoded_; }

private:
    bool appendCoded(std::span<const std::uint8_t> row, std::size_t count);
    void changeToDifferences();
    void appendDifferences(std::span<const std::uint8_t> row, std::size_t count);

    ByteBuffer coded_;
    ByteBuffer differences_;
    /** The row above; kept where there are differences from it. */
    std::vector<std::uint8_t> above_;
    RasterPage page_;
    /** How much the run-length coded data may become. */
    std::size_t maxCodedSize_ = 0;
    std::size_t codedRows_ = 0;
    bool runLengthCoded_ = true;
};

} // namespace korvane
