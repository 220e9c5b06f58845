#include "lib/tesseract/SidewaysText.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace korvane {

namespace {

/** Lengths in inches: a gap between words is closed, a line has such a height and length. */
constexpr double wordGap = 0.13;
constexpr double minLineHeight = 0.035;
constexpr double maxLineHeight = 0.6;
constexpr double minLineLength = 0.25;
constexpr int minAspect = 4;
/** The share of ink in a line of text; rules and bars have more. */
constexpr double maxInkShare = 0.6;
constexpr double minInkShare = 0.04;
constexpr int padding = 8;
constexpr std::size_t maxStrips = 64;

/** Lines on their side are rare: what is read there must be good. */
constexpr double minConfidence = 70;
constexpr std::size_t minBytes = 4;

void eraseCertainWords(Pix* ink, const std::vector<FoundLine>& lines)
{
    constexpr int margin = 3;
    for (const FoundLine& line : lines)
        for (const FoundWord& word : line.words) {
            if (!word.isCertain()) continue;
            const PixelBox box = word.box.grownBy(margin);
            pixRasterop(ink, box.left, box.top, box.width(), box.height(), PIX_CLR, nullptr, 0, 0);
        }
}

bool looksLikeLine(Pix* ink, Box* box, double resolution)
{
    l_int32 x = 0, y = 0, width = 0, height = 0;
    boxGetGeometry(box, &x, &y, &width, &height);
    if (height < minAspect * width || height < minLineLength * resolution ||
        width < minLineHeight * resolution || width > maxLineHeight * resolution)
        return false;
    const OwnedPix inside(pixClipRectangle(ink, box, nullptr));
    l_float32 share = 0;
    if (!inside || pixForegroundFraction(inside.get(), &share) != 0) return false;
    return share >= static_cast<l_float32>(minInkShare) &&
           share <= static_cast<l_float32>(maxInkShare);
}

std::ptrdiff_t stripAt(PixelPoint point, const std::vector<PixelBox>& strips)
{
    const auto found =
        std::ranges::find_if(strips, [&](const PixelBox& strip) { return strip.contains(point); });
    return found == strips.end() ? -1 : found - strips.begin();
}

bool readsWell(const FoundLine& line)
{
    std::size_t bytes = 0;
    for (const FoundWord& word : line.words) bytes += word.text.size();
    return bytes >= minBytes && line.confidence() >= minConfidence;
}

struct LineInStrip {
    FoundLine line;
    /** Its index. */
    std::size_t strip;
};

/** What was read in one of the two directions. */
struct DirectionReading {
    std::vector<LineInStrip> lines;
    /** For each strip: the bytes that were read in it, weighted with their confidence. */
    std::vector<double> weights;
};

/** The lines that read well, for which `onUprightPage` tells where a point of them was before the
 *  page was turned. */
template <typename Mapping>
DirectionReading sortIntoStrips(std::vector<FoundLine> lines, const std::vector<PixelBox>& strips,
                                Mapping onUprightPage)
{
    DirectionReading reading{.weights = std::vector<double>(strips.size())};
    for (FoundLine& line : lines) {
        const auto found = stripAt(onUprightPage(line.words.front().box.center()), strips);
        if (found < 0 || !readsWell(line)) continue;
        const auto strip = static_cast<std::size_t>(found);
        for (const FoundWord& word : line.words)
            reading.weights[strip] += word.confidence * static_cast<double>(word.text.size());
        reading.lines.push_back({.line = std::move(line), .strip = strip});
    }
    return reading;
}

} // namespace

std::vector<PixelBox> findStrips(const CleanedPage& straight, const std::vector<FoundLine>& lines,
                                 double resolution)
{
    const OwnedPix rest(pixCopy(nullptr, straight.ink.get()));
    if (!rest) return {};
    eraseCertainWords(rest.get(), lines);
    const int gap = std::max(1, static_cast<int>(std::lround(wordGap * resolution)));
    const OwnedPix joined(pixCloseSafeBrick(nullptr, rest.get(), 1, gap));
    if (!joined) return {};
    std::vector<PixelBox> strips;
    Boxa* boxes = pixConnComp(joined.get(), nullptr, 8);
    const int count = boxes ? boxaGetCount(boxes) : 0;
    for (int index = 0; index < count && strips.size() < maxStrips; ++index) {
        Box* box = boxaGetBox(boxes, index, L_CLONE);
        l_int32 x = 0, y = 0, width = 0, height = 0;
        boxGetGeometry(box, &x, &y, &width, &height);
        if (looksLikeLine(rest.get(), box, resolution))
            strips.push_back(PixelBox{x, y, x + width, y + height}.grownBy(padding));
        boxDestroy(&box);
    }
    boxaDestroy(&boxes);
    return strips;
}

OwnedPix stripsAlone(const OwnedPix& gray, const std::vector<PixelBox>& strips, int quarterTurns)
{
    const OwnedPix alone(pixCreateTemplate(gray.get()));
    if (!alone) return nullptr;
    pixSetAll(alone.get());
    for (const PixelBox& strip : strips)
        pixRasterop(alone.get(), strip.left, strip.top, strip.width(), strip.height(), PIX_SRC,
                    gray.get(), strip.left, strip.top);
    return OwnedPix(pixRotateOrth(alone.get(), quarterTurns));
}

SidewaysLines chooseDirections(const std::vector<PixelBox>& strips,
                               std::vector<FoundLine> turnedOnce,
                               std::vector<FoundLine> turnedThrice, int pageWidth, int pageHeight)
{
    auto once = sortIntoStrips(std::move(turnedOnce), strips, [pageHeight](PixelPoint turned) {
        return PixelPoint{.x = turned.y, .y = pageHeight - turned.x};
    });
    auto thrice = sortIntoStrips(std::move(turnedThrice), strips, [pageWidth](PixelPoint turned) {
        return PixelPoint{.x = pageWidth - turned.y, .y = turned.x};
    });
    SidewaysLines chosen;
    for (LineInStrip& read : once.lines)
        if (once.weights[read.strip] >= thrice.weights[read.strip])
            chosen.turnedOnce.push_back(std::move(read.line));
    for (LineInStrip& read : thrice.lines)
        if (thrice.weights[read.strip] > once.weights[read.strip])
            chosen.turnedThrice.push_back(std::move(read.line));
    for (std::size_t index = 0; index < strips.size(); ++index)
        if (once.weights[index] + thrice.weights[index] > 0) chosen.strips.push_back(strips[index]);
    return chosen;
}

void dropWordsInStrips(std::vector<FoundLine>& lines, const std::vector<PixelBox>& strips)
{
    for (FoundLine& line : lines)
        std::erase_if(line.words, [&](const FoundWord& word) {
            return std::ranges::any_of(strips, [&](const PixelBox& strip) {
                return !word.isCertain() && strip.contains(word.box.center());
            });
        });
    std::erase_if(lines, [](const FoundLine& line) { return line.words.empty(); });
}

} // namespace korvane
