#pragma once

#include "base/ByteBuffer.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace korvane {

/**
 * The pixel data of one image on its way to the deflate compressor.
 *
 * Printed pages are mostly long runs of white, and the compressor spends most of its time walking
 * them. So rows are kept run-length coded: a page of text shrinks twenty-fold before deflate sees
 * it, a repeated row costs its few coded bytes, and the deflated result is a third smaller than
 * that of the plain pixels. Where the coding does not at least halve the image (photographs,
 * colored paper) the plain pixels compress better, and the stream changes over to them.
 */
class PixelStream {
public:
    /** Starts over with an image of `size` bytes, keeping the memory of the one before. */
    void begin(std::size_t size);

    /** Appends `row`, `count` times (at least once). Throws std::bad_alloc. */
    void append(std::span<const std::uint8_t> row, std::size_t count);

    /** Ends the data. */
    void end();

    /** The data so far; valid until the next change. */
    std::span<const std::uint8_t> bytes() const
    {
        return runLengthCoded_ ? coded_.bytes() : plain_.bytes();
    }

    /** Whether the data is coded for the RunLengthDecode filter, or the plain pixels. */
    bool isRunLengthCoded() const { return runLengthCoded_; }

private:
    bool appendCoded(std::span<const std::uint8_t> row, std::size_t count);
    void changeToPlainPixels();

    ByteBuffer coded_;
    ByteBuffer plain_;
    /** Of the image. */
    std::size_t size_ = 0;
    bool runLengthCoded_ = true;
};

} // namespace korvane
