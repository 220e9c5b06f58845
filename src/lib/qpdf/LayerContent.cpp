#include "lib/qpdf/LayerContent.h"

#include "lib/qpdf/LayerLine.h"
#include "page/Helvetica.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
#include <string_view>
#include <utility>

namespace korvane {

namespace {

using FontNames = std::function<std::string(std::size_t font)>;

/** No viewer takes larger numbers. */
constexpr double maxNumber = 1e6;

/** Horizontal scaling in percent (ISO 32000-1, 9.3.4). */
constexpr double unscaled = 100;
constexpr double minWordScaling = 0.01;
/** For the space between words that touch or overlap: not to be seen, but to be copied. */
constexpr double minSpaceScaling = 1;

constexpr std::u32string_view space = U" ";

/** A number with as many decimals as it needs, at most six; PDF knows no exponents. */
std::string number(double value)
{
    std::string text = fmt::format("{:.6f}", std::clamp(value, -maxNumber, maxNumber));
    text.erase(text.find_last_not_of('0') + 1);
    if (text.ends_with('.')) text.pop_back();
    return text == "-0" ? "0" : text;
}

/** From the page as it is shown to the page as it is stored, which is turned back and whose origin
 *  need not be a corner of its media box. */
std::string transformation(const LayerPlacement& placement)
{
    const PDFRect& box = placement.box;
    const std::string left = number(box.x), right = number(box.x + box.width);
    const std::string bottom = number(box.y), top = number(box.y + box.height);
    switch (placement.quarterTurns) {
    case 1: return fmt::format("0 1 -1 0 {} {} cm\n", right, bottom);
    case 2: return fmt::format("-1 0 0 -1 {} {} cm\n", right, top);
    case 3: return fmt::format("0 -1 1 0 {} {} cm\n", left, top);
    default: return fmt::format("1 0 0 1 {} {} cm\n", left, bottom);
    }
}

/** Writes one text object: a line. */
class LineContent {
public:
    LineContent(const LayerFonts& fonts, const FontNames& fontName, const TextLine& line)
        : fonts_(fonts), fontName_(fontName), line_(makeLayerLine(line)),
          spaceWidth_(helvetica::textWidth(space, line_.fontSize))
    {
        if (line_.words.empty()) return;
        const double angle = line_.direction * std::numbers::pi / 180;
        const std::string cosine = number(std::cos(angle));
        content_ = fmt::format("BT\n{} {} {} {} {} {} Tm\n", cosine, number(std::sin(angle)),
                               number(-std::sin(angle)), cosine, number(line.x), number(line.y));
        double x = 0, y = 0;
        for (std::size_t index = 0; index < line_.words.size(); ++index) {
            const LayerWord& word = line_.words[index];
            content_ += fmt::format("{} {} Td\n", number(word.x - x), number(word.y - y));
            x = word.x;
            y = word.y;
            showWord(word);
            if (index + 1 < line_.words.size())
                showSpace(line_.words[index + 1].x - word.x - word.width);
        }
        content_ += "ET\n";
    }

    std::string take() { return std::move(content_); }

private:
    void showWord(const LayerWord& word)
    {
        show(word.text, word.fontSize,
             word.naturalWidth > 0
                 ? std::max(unscaled * word.width / word.naturalWidth, minWordScaling)
                 : unscaled);
    }

    /** Begins where the word before it ended. */
    void showSpace(double width)
    {
        show(space, line_.fontSize, std::max(unscaled * width / spaceWidth_, minSpaceScaling));
    }

    void show(std::u32string_view text, double size, double scaling)
    {
        content_ += number(scaling) + " Tz\n";
        bool isOpen = false;
        for (const char32_t character : text) {
            const LayerFonts::Glyph glyph = fonts_.glyph(character);
            if (font_ != std::pair(glyph.font, size)) {
                if (std::exchange(isOpen, false)) content_ += "> Tj\n";
                font_ = {glyph.font, size};
                content_ += fmt::format("{} {} Tf\n", fontName_(glyph.font), number(size));
            }
            if (!std::exchange(isOpen, true)) content_ += '<';
            content_ += fmt::format("{:0{}X}", glyph.code, glyph.codeSize * 2);
        }
        content_ += "> Tj\n";
    }

    const LayerFonts& fonts_;
    const FontNames& fontName_;
    const LayerLine line_;
    const double spaceWidth_;
    /** The current font and its size. */
    std::optional<std::pair<std::size_t, double>> font_;
    std::string content_;
};

} // namespace

std::string layerContent(const PageTextLayer& layer, const LayerPlacement& placement,
                         const LayerFonts& fonts, const FontNames& fontName)
{
    // A tagged document has a place in its structure for all that is real content, and calls the
    // rest artifacts (ISO 32000-1, 14.8.2.2). In others the mark would only keep the text from
    // those who have it read to them.
    std::string content = placement.isTagged ? "/Artifact BMC\nq\n" : "q\n";
    content += transformation(placement);
    content += "3 Tr\n";
    for (const TextLine& line : layer.lines) {
        content += LineContent(fonts, fontName, line).take();
    }
    content += placement.isTagged ? "Q\nEMC\n" : "Q\n";
    return content;
}

} // namespace korvane
