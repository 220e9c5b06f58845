#include "lib/qpdf/LayerLine.h"

#include "lib/fribidi/VisualOrder.h"
#include "page/Helvetica.h"
#include "text/CodePoints.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <initializer_list>
#include <numbers>
#include <optional>
#include <utility>

namespace korvane {

namespace {

constexpr double defaultSize = 12;
constexpr double minSize = 1;
constexpr double minWidth = 1;
constexpr double maxCoordinate = 1e6;

constexpr double minScaling = 0.5;

/** To the font size, so that all of pdftotext's modes see a space; it takes 0.15 for the least. */
constexpr double minGapToSize = 0.16;

/** How far the font size may be from the letters' height. */
constexpr double minSizeToHeight = 0.5;
constexpr double maxSizeToHeight = 2;

constexpr char32_t lineSeparator = 0x2028;
constexpr char32_t paragraphSeparator = 0x2029;
constexpr char32_t nextLine = 0x85;

/** Tabs and all that ends a line keep words apart. */
bool separatesWords(char32_t character)
{
    return (character >= '\t' && character <= '\r') || character == nextLine ||
           character == lineSeparator || character == paragraphSeparator;
}

double radians(double degrees)
{
    return degrees * std::numbers::pi / 180;
}

/** False also for what is no number. */
bool areOnPages(std::initializer_list<double> values)
{
    return std::ranges::all_of(values,
                               [](double value) { return std::abs(value) <= maxCoordinate; });
}

std::vector<LayerWord> drawableWords(const TextLine& line)
{
    std::vector<LayerWord> words;
    if (!areOnPages({line.x, line.y, line.angle, line.ascent, line.descent})) return words;
    for (const TextWord& word : line.words) {
        if (!areOnPages({word.start, word.width})) continue;
        std::u32string text = drawableText(word.text);
        if (text.empty()) continue;
        words.push_back(
            {.text = std::move(text), .x = word.start, .width = std::max(word.width, minWidth)});
    }
    return words;
}

/** Which way a word runs may depend on the words around it, so the line is ordered as a whole. */
void orderVisually(std::vector<LayerWord>& words)
{
    std::u32string line;
    std::vector<std::optional<std::size_t>> wordOfCharacter;
    for (std::size_t word = 0; word < words.size(); ++word) {
        if (word > 0) {
            line += U' ';
            wordOfCharacter.emplace_back();
        }
        line += words[word].text;
        wordOfCharacter.resize(line.size(), word);
        words[word].text.clear();
    }
    const std::vector<std::size_t> order = visualOrder(line);
    for (const std::size_t character : order) {
        if (const auto word = wordOfCharacter[character]) words[*word].text += line[character];
    }
    if (std::ranges::is_sorted(order)) return;
    std::ranges::stable_sort(words, {}, &LayerWord::x);
}

double fittingSize(const std::vector<LayerWord>& words, double height)
{
    double target = 0;
    double measured = 0;
    for (const LayerWord& word : words) {
        target += word.width;
        measured += helvetica::textWidth(word.text, 1);
    }
    if (measured <= 0) return defaultSize;
    double size = target / measured;
    if (height > 0) size = std::clamp(size, minSizeToHeight * height, maxSizeToHeight * height);
    return std::max(size, minSize);
}

/** The direction of the nearest side of the page, if no word leaves its place by more than half of
 *  the letters' height when it is drawn in it; else that of the line. */
double textDirection(const std::vector<LayerWord>& words, double angle, double height)
{
    const double side = std::round(angle / 90) * 90;
    const double slope = std::abs(std::sin(radians(angle - side)));
    const bool isNear = std::ranges::all_of(
        words, [&](const LayerWord& word) { return word.width * slope <= height; });
    return isNear ? side : angle;
}

/** Moves a word that begins at `x` on a baseline so tilted against the text. */
void placeOnBaseline(LayerWord& word, double tilt)
{
    if (tilt == 0) return;
    const double middle = word.x + word.width / 2;
    word.x = middle * std::cos(tilt) - word.width / 2;
    word.y = middle * std::sin(tilt);
}

void keepApart(std::vector<LayerWord>& words, double fontSize)
{
    for (std::size_t index = 0; index + 1 < words.size(); ++index) {
        LayerWord& word = words[index];
        const double available = words[index + 1].x - word.x - minGapToSize * fontSize;
        word.width = std::min(word.width, std::max(available, word.width / 2));
    }
}

void fitSize(LayerWord& word, double lineSize)
{
    const double measured = helvetica::textWidth(word.text, 1);
    word.fontSize = lineSize;
    if (word.width < minScaling * lineSize * measured)
        word.fontSize = std::max(word.width / (minScaling * measured), minSize);
    word.naturalWidth = measured * word.fontSize;
}

} // namespace

std::u32string drawableText(std::string_view text)
{
    std::u32string drawable;
    for (const char32_t character : text::codePoints(text)) {
        if (separatesWords(character)) {
            drawable += U' ';
        } else if (!text::isControl(character)) {
            drawable += character;
        }
    }
    drawable.erase(drawable.find_last_not_of(U' ') + 1);
    drawable.erase(0, drawable.find_first_not_of(U' '));
    return drawable;
}

LayerLine makeLayerLine(const TextLine& line)
{
    LayerLine drawn{.words = drawableWords(line)};
    orderVisually(drawn.words);
    const double height = line.ascent + line.descent;
    drawn.fontSize = fittingSize(drawn.words, height);
    drawn.direction = textDirection(drawn.words, line.angle, height > 0 ? height : drawn.fontSize);
    for (LayerWord& word : drawn.words) {
        placeOnBaseline(word, radians(line.angle - drawn.direction));
    }
    keepApart(drawn.words, drawn.fontSize);
    for (LayerWord& word : drawn.words) fitSize(word, drawn.fontSize);
    return drawn;
}

} // namespace korvane
