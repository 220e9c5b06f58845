#include "lib/tesseract/FoundText.h"

#include "text/CodePoints.h"

#include <tesseract/baseapi.h>
#include <tesseract/resultiterator.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <utility>

namespace korvane {

namespace {

using tesseract::RIL_TEXTLINE;
using tesseract::RIL_WORD;

/** Noise can look like lines and words without end. */
constexpr std::size_t maxLines = 4000;
constexpr std::size_t maxWords = 20'000;

/** On scans of real paper, words have a confidence of 80 to 97. A line in which one was hardly
 * legible still has 70; what is read into pictures and dirt has 0 to 50. */
constexpr double certainConfidence = 60;
constexpr double minConfidence = 20;
constexpr double minLineConfidence = 40;
/** For lines without a word of the dictionary or with few letters. */
constexpr double minDoubtfulConfidence = 60;
constexpr std::size_t fewBytes = 4;
/** Of marks without a letter at the ends of a line. */
constexpr double minMarkConfidence = 50;

std::string take(char* text)
{
    const std::unique_ptr<char[]> owned(text);
    return owned ? std::string(owned.get()) : std::string();
}

bool hasLetters(const std::string& text)
{
    return std::ranges::any_of(text::codePoints(text), text::isLetterOrNumber);
}

bool isDirt(const FoundWord& word)
{
    return !hasLetters(word.text) && word.confidence < minMarkConfidence;
}

bool isNoise(const FoundLine& line)
{
    std::size_t bytes = 0;
    std::size_t known = 0;
    for (const FoundWord& word : line.words) {
        if (hasLetters(word.text)) bytes += word.text.size();
        if (word.isInDictionary && word.canBeLookedUp()) ++known;
    }
    if (bytes == 0) return true;
    const double confidence = line.confidence();
    if (2 * known > line.words.size()) return confidence < minConfidence;
    if (known > 0 && bytes >= fewBytes) return confidence < minLineConfidence;
    return confidence < minDoubtfulConfidence;
}

bool isText(tesseract::PolyBlockType kind)
{
    // Lines on their side are read by themselves.
    return kind != tesseract::PT_VERTICAL_TEXT &&
           (tesseract::PTIsTextType(kind) || kind == tesseract::PT_UNKNOWN ||
            kind == tesseract::PT_EQUATION || kind == tesseract::PT_INLINE_EQUATION);
}

FoundWord foundWord(const tesseract::ResultIterator& results)
{
    FoundWord word{.text = take(results.GetUTF8Text(RIL_WORD)),
                   .confidence =
                       std::clamp(static_cast<double>(results.Confidence(RIL_WORD)), 0.0, 100.0),
                   .isInDictionary = results.WordIsFromDictionary()};
    std::erase(word.text, ' ');
    std::erase(word.text, '\n');
    results.BoundingBox(RIL_WORD, &word.box.left, &word.box.top, &word.box.right, &word.box.bottom);
    return word;
}

FoundLine startOfLine(const tesseract::ResultIterator& results)
{
    PixelBox box;
    results.BoundingBox(RIL_TEXTLINE, &box.left, &box.top, &box.right, &box.bottom);
    int startX = box.left, startY = box.bottom, endX = box.right, endY = box.bottom;
    if (!results.Baseline(RIL_TEXTLINE, &startX, &startY, &endX, &endY) || endX <= startX) {
        startX = box.left, endX = box.right;
        startY = endY = box.bottom;
    }
    return {.baselineStart = {static_cast<double>(startX), static_cast<double>(startY)},
            .baselineEnd = {static_cast<double>(endX), static_cast<double>(endY)}};
}

double baselineAt(const FoundLine& line, double x)
{
    const double width = line.baselineEnd.x - line.baselineStart.x;
    if (width <= 0) return line.baselineStart.y;
    return line.baselineStart.y +
           (line.baselineEnd.y - line.baselineStart.y) * (x - line.baselineStart.x) / width;
}

} // namespace

bool FoundWord::isCertain() const
{
    return isInDictionary ? confidence >= minConfidence : confidence >= certainConfidence;
}

bool FoundWord::canBeLookedUp() const
{
    return text::codePoints(text).size() >= 3 &&
           text.find_first_of("0123456789") == std::string::npos;
}

double FoundLine::confidence() const
{
    double sum = 0;
    for (const FoundWord& word : words) sum += word.confidence;
    return words.empty() ? 0 : sum / static_cast<double>(words.size());
}

std::vector<FoundLine> foundLines(tesseract::TessBaseAPI& api)
{
    std::vector<FoundLine> lines;
    const std::unique_ptr<tesseract::ResultIterator> results(api.GetIterator());
    if (!results || results->Empty(RIL_WORD)) return lines;
    FoundLine line;
    std::size_t words = 0;
    do {
        if (results->IsAtBeginningOf(RIL_TEXTLINE)) {
            if (!line.words.empty()) lines.push_back(std::exchange(line, {}));
            line = startOfLine(*results);
        }
        if (!isText(results->BlockType())) continue;
        FoundWord word = foundWord(*results);
        if (!word.text.empty() && word.box.width() > 0) line.words.push_back(std::move(word));
    } while (results->Next(RIL_WORD) && lines.size() < maxLines && ++words < maxWords);
    if (!line.words.empty()) lines.push_back(std::move(line));
    return lines;
}

void scale(std::vector<FoundLine>& lines, double factor)
{
    const auto scaled = [factor](int value) {
        return static_cast<int>(std::lround(value * factor));
    };
    for (FoundLine& line : lines) {
        for (PixelPoint* point : {&line.baselineStart, &line.baselineEnd}) {
            point->x *= factor;
            point->y *= factor;
        }
        for (FoundWord& word : line.words) {
            for (int* edge : {&word.box.left, &word.box.top, &word.box.right, &word.box.bottom})
                *edge = scaled(*edge);
        }
    }
}

void dropNoise(std::vector<FoundLine>& lines)
{
    for (FoundLine& line : lines) {
        while (!line.words.empty() && isDirt(line.words.front()))
            line.words.erase(line.words.begin());
        while (!line.words.empty() && isDirt(line.words.back())) line.words.pop_back();
    }
    std::erase_if(lines, [](const FoundLine& line) { return isNoise(line); });
}

TextLine placed(const FoundLine& line, const PageGeometry& geometry)
{
    int leftmost = line.words.front().box.left, rightmost = line.words.front().box.right;
    for (const FoundWord& word : line.words) {
        leftmost = std::min(leftmost, word.box.left);
        rightmost = std::max(rightmost, word.box.right);
    }
    const auto onBaseline = [&](int x) {
        return geometry.onPage({static_cast<double>(x), baselineAt(line, x)});
    };
    const PagePoint start = onBaseline(leftmost);
    const PagePoint end = onBaseline(rightmost);
    const double length = std::hypot(end.x - start.x, end.y - start.y);
    const double alongX = length > 0 ? (end.x - start.x) / length : 1;
    const double alongY = length > 0 ? (end.y - start.y) / length : 0;
    const auto along = [&](int x) {
        const PagePoint point = onBaseline(x);
        return (point.x - start.x) * alongX + (point.y - start.y) * alongY;
    };
    const double pointsPerPixel = 72 / geometry.resolution;
    TextLine text{
        .x = start.x, .y = start.y, .angle = std::atan2(alongY, alongX) * 180 / std::numbers::pi};
    for (const FoundWord& word : line.words) {
        const double baseline = baselineAt(line, word.box.center().x);
        text.ascent = std::max(text.ascent, (baseline - word.box.top) * pointsPerPixel);
        text.descent = std::max(text.descent, (word.box.bottom - baseline) * pointsPerPixel);
        const double from = along(word.box.left);
        text.words.push_back(
            {.text = word.text, .start = from, .width = along(word.box.right) - from});
    }
    return text;
}

} // namespace korvane
