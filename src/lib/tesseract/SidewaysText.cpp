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
        for (const FoundWord& word : line.words)
            if (word.isCertain())
                pixRasterop(ink, word.left - margin, word.top - margin,
                            word.right - word.left + 2 * margin,
                            word.bottom - word.top + 2 * margin, PIX_CLR, nullptr, 0, 0);
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

/** The strip in which a line is, read after so many turns of the page. */
std::ptrdiff_t stripOf(const FoundLine& line, int quarterTurns, const std::vector<Strip>& strips,
                       int pageWidth, int pageHeight)
{
    const FoundWord& word = line.words.front();
    const double x = (word.left + word.right) / 2.0;
    const double y = (word.top + word.bottom) / 2.0;
    const double uprightX = quarterTurns == 1 ? y : pageWidth - y;
    const double uprightY = quarterTurns == 1 ? pageHeight - x : x;
    const auto found = std::ranges::find_if(
        strips, [&](const Strip& strip) { return strip.contains(uprightX, uprightY); });
    return found == strips.end() ? -1 : found - strips.begin();
}

bool readsWell(const FoundLine& line)
{
    std::size_t bytes = 0;
    for (const FoundWord& word : line.words) bytes += word.text.size();
    return bytes >= minBytes && line.confidence() >= minConfidence;
}

} // namespace

std::vector<Strip> findStrips(const CleanedPage& straight, const std::vector<FoundLine>& lines,
                              double resolution)
{
    const OwnedPix rest(pixCopy(nullptr, straight.ink.get()));
    if (!rest) return {};
    eraseCertainWords(rest.get(), lines);
    const int gap = std::max(1, static_cast<int>(std::lround(wordGap * resolution)));
    const OwnedPix joined(pixCloseSafeBrick(nullptr, rest.get(), 1, gap));
    if (!joined) return {};
    std::vector<Strip> strips;
    Boxa* boxes = pixConnComp(joined.get(), nullptr, 8);
    const int count = boxes ? boxaGetCount(boxes) : 0;
    for (int index = 0; index < count && strips.size() < maxStrips; ++index) {
        Box* box = boxaGetBox(boxes, index, L_CLONE);
        l_int32 x = 0, y = 0, width = 0, height = 0;
        boxGetGeometry(box, &x, &y, &width, &height);
        if (looksLikeLine(rest.get(), box, resolution))
            strips.push_back({.left = x - padding,
                              .top = y - padding,
                              .right = x + width + padding,
                              .bottom = y + height + padding});
        boxDestroy(&box);
    }
    boxaDestroy(&boxes);
    return strips;
}

OwnedPix stripsAlone(const OwnedPix& gray, const std::vector<Strip>& strips, int quarterTurns)
{
    const OwnedPix alone(pixCreateTemplate(gray.get()));
    if (!alone) return nullptr;
    pixSetAll(alone.get());
    for (const Strip& strip : strips)
        pixRasterop(alone.get(), strip.left, strip.top, strip.right - strip.left,
                    strip.bottom - strip.top, PIX_SRC, gray.get(), strip.left, strip.top);
    return OwnedPix(pixRotateOrth(alone.get(), quarterTurns));
}

SidewaysLines chooseDirections(const std::vector<Strip>& strips, std::vector<FoundLine> turnedOnce,
                               std::vector<FoundLine> turnedThrice, int pageWidth, int pageHeight)
{
    // By strip: how many bytes were read in either direction, weighted with their confidence.
    std::vector<std::pair<double, double>> weights(strips.size());
    const auto weigh = [&](std::vector<FoundLine>& lines, int turns, auto member) {
        std::erase_if(lines, [&](const FoundLine& line) {
            const std::ptrdiff_t strip = stripOf(line, turns, strips, pageWidth, pageHeight);
            if (strip < 0 || !readsWell(line)) return true;
            for (const FoundWord& word : line.words)
                weights[static_cast<std::size_t>(strip)].*member +=
                    word.confidence * static_cast<double>(word.text.size());
            return false;
        });
    };
    weigh(turnedOnce, 1, &std::pair<double, double>::first);
    weigh(turnedThrice, 3, &std::pair<double, double>::second);
    const auto dropOther = [&](std::vector<FoundLine>& lines, int turns) {
        std::erase_if(lines, [&](const FoundLine& line) {
            const auto& [once, thrice] = weights[static_cast<std::size_t>(
                stripOf(line, turns, strips, pageWidth, pageHeight))];
            return turns == 1 ? thrice > once : once >= thrice;
        });
    };
    dropOther(turnedOnce, 1);
    dropOther(turnedThrice, 3);
    SidewaysLines chosen{.turnedOnce = std::move(turnedOnce),
                         .turnedThrice = std::move(turnedThrice)};
    for (std::size_t index = 0; index < strips.size(); ++index)
        if (weights[index].first + weights[index].second > 0)
            chosen.strips.push_back(strips[index]);
    return chosen;
}

void dropWordsInStrips(std::vector<FoundLine>& lines, const std::vector<Strip>& strips)
{
    for (FoundLine& line : lines)
        std::erase_if(line.words, [&](const FoundWord& word) {
            return std::ranges::any_of(strips, [&](const Strip& strip) {
                return !word.isCertain() && strip.contains((word.left + word.right) / 2.0,
                                                           (word.top + word.bottom) / 2.0);
            });
        });
    std::erase_if(lines, [](const FoundLine& line) { return line.words.empty(); });
}

} // namespace korvane
