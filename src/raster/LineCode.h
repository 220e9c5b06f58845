#pragma once

#include "raster/RunLength.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace korvane {

/** What became of a line. */
enum class LineResult {
    complete,
    truncated, ///< the document ends within the line
    overflow,  ///< a literal run passes the end of the line
};

/** Decodes one line into all of `line`, at least one byte, and removes its bytes from `input`. */
using LineDecoder = LineResult (*)(std::span<const std::uint8_t>& input,
                                   std::span<std::uint8_t> line);

/**
 * What the codes of a line mean. Code 128 fills the line to its end; of the others those of one
 * half are followed by one pixel that is repeated, those of the other half by literal pixels:
 * code + 1 of them below 128, 257 - code above it.
 */
struct LineCode {
    enum class Fill {
        lastPixel, ///< with the pixel read last, zeros at the start of a line
        white,
    };

    /** The size of what codes count: a pixel, or a byte of smaller pixels. */
    std::size_t pixelSize = 1;
    /** Whether codes below 128 stand for repeats, and those above for literals. */
    bool lowCodesRepeat = false;
    Fill fill = Fill::lastPixel;
    /** Every byte of a white pixel. */
    std::uint8_t white = 0xFF;
    /** Whether literal runs may pass the end of the line, which cuts them; repeats always may. */
    bool cutsLiterals = false;
};

/** The rules are known when this is compiled, so that the loop decides nothing but the code. */
template <LineCode rules>
LineResult decodeLine(std::span<const std::uint8_t>& input, std::span<std::uint8_t> line)
{
    constexpr std::size_t pixelSize = rules.pixelSize;
    constexpr std::uint8_t fillCode = 128;
    const std::uint8_t* next = input.data();
    const std::uint8_t* const end = next + input.size();
    std::size_t filled = 0;
    while (filled < line.size()) {
        if (next == end) return LineResult::truncated;
        const std::size_t code = *next++;
        const std::size_t left = line.size() - filled;
        const std::size_t size = (code < fillCode ? code + 1 : 257 - code) * pixelSize;
        const auto available = static_cast<std::size_t>(end - next);
        if (code == fillCode) {
            if constexpr (rules.fill == LineCode::Fill::white) {
                std::memset(&line[filled], rules.white, left);
            } else if (filled > 0) {
                // The pixel read last is the one before, whichever kind of run it came in.
                repeatPrefix(line.subspan(filled - pixelSize), pixelSize);
            } else {
                std::memset(line.data(), 0, left);
            }
            filled = line.size();
        } else if ((code < fillCode) == rules.lowCodesRepeat) {
            if (available < pixelSize) return LineResult::truncated;
            std::memcpy(&line[filled], next, pixelSize);
            repeatPrefix(line.subspan(filled, std::min(size, left)), pixelSize);
            next += pixelSize;
            filled += std::min(size, left);
        } else {
            if (!rules.cutsLiterals && size > left) return LineResult::overflow;
            if (available < size) return LineResult::truncated;
            std::memcpy(&line[filled], next, std::min(size, left));
            next += size;
            filled += std::min(size, left);
        }
    }
    input = {next, end};
    return LineResult::complete;
}

} // namespace korvane
