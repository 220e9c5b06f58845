#include "recognition/PageText.h"

#include "text/Joined.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <utility>

namespace korvane {

namespace {

constexpr double pointsPerInch = 72;

/** Around the words from the line's descent to its ascent, whatever the line's direction. */
PDFRect uprightRectangle(const TextLine& line)
{
    if (line.words.empty()) return {.x = line.x, .y = line.y};
    double start = line.words.front().start;
    double end = start;
    for (const TextWord& word : line.words) {
        start = std::min(start, word.start);
        end = std::max(end, word.start + word.width);
    }
    const double radians = line.angle * std::numbers::pi / 180;
    const double cosine = std::cos(radians);
    const double sine = std::sin(radians);
    std::array<double, 4> x{};
    std::array<double, 4> y{};
    std::size_t corner = 0;
    for (const double along : {start, end}) {
        for (const double above : {-line.descent, line.ascent}) {
            x[corner] = line.x + along * cosine - above * sine;
            y[corner] = line.y + along * sine + above * cosine;
            ++corner;
        }
    }
    const auto [left, right] = std::ranges::minmax(x);
    const auto [bottom, top] = std::ranges::minmax(y);
    return {.x = left, .y = bottom, .width = right - left, .height = top - bottom};
}

} // namespace

OCRSpan makeSpan(TextLine line)
{
    OCRSpan span{.text = text::joined(line.words, " ", &TextWord::text),
                 .rect = uprightRectangle(line)};
    span.line = std::move(line);
    return span;
}

BitmapSize sizeAt(double dpi, const PDFRect& mediaBox, const BitmapSize& bitmap)
{
    if (bitmap.resolution <= dpi) return bitmap;
    PDFRect shown{.width = bitmap.width * pointsPerInch / bitmap.resolution,
                  .height = bitmap.height * pointsPerInch / bitmap.resolution};
    // The box is exact, the bitmap has whole pixels.
    const auto isAbout = [](double left, double right) { return std::abs(left - right) < 1; };
    if (isAbout(shown.width, mediaBox.width) && isAbout(shown.height, mediaBox.height)) {
        shown = mediaBox;
    } else if (isAbout(shown.width, mediaBox.height) && isAbout(shown.height, mediaBox.width)) {
        shown = {.width = mediaBox.height, .height = mediaBox.width};
    }
    return sizeAt(dpi, shown);
}

BitmapSize sizeAt(double dpi, const PDFRect& mediaBox)
{
    const auto pixels = [dpi](double points) {
        return static_cast<int>(std::lround(points * dpi / pointsPerInch));
    };
    return {.width = pixels(mediaBox.width), .height = pixels(mediaBox.height), .resolution = dpi};
}

} // namespace korvane
