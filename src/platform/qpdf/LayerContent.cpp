#include "platform/qpdf/LayerContent.h"

#include "platform/pdf/VisualOrder.h"
#include "platform/text/CodePoints.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace korvane {

namespace {

/** Nothing on a page is further away than this, and no viewer takes larger numbers. */
constexpr double largestNumber = 1e6;

/** A number with as many decimals as it needs, at most six; PDF knows no exponents. */
std::string number(double value)
{
    std::string text = fmt::format("{:.6f}", std::clamp(value, -largestNumber, largestNumber));
    text.erase(text.find_last_not_of('0') + 1);
    if (text.ends_with('.')) text.pop_back();
    return text == "-0" ? "0" : text;
}

/** From the page as it is read to the page as it is stored, which is turned back and whose origin
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

bool canBeDrawn(const TextLine& line)
{
    return std::isfinite(line.x) && std::isfinite(line.baseline) && std::isfinite(line.fontSize) &&
           line.fontSize > 0;
}

} // namespace

std::string layerContent(const PageTextLayer& layer, const LayerPlacement& placement,
                         const LayerFonts& fonts,
                         const std::function<std::string(std::size_t font)>& fontName)
{
    // A tagged document has a place in its structure for all that is real content, and calls the
    // rest artifacts (ISO 32000-1, 14.8.2.2). In others the mark would only keep the text from
    // those who have it read to them.
    std::string content = placement.isTagged ? "/Artifact BMC\nq\n" : "q\n";
    content += transformation(placement);
    content += "3 Tr\n";
    for (const TextLine& line : layer.lines) {
        if (!canBeDrawn(line)) continue;
        content += fmt::format("BT\n{} {} Td\n", number(line.x), number(line.baseline));
        std::optional<std::size_t> font;
        for (const char32_t character : visualOrder(text::codePoints(line.text))) {
            const LayerFonts::Glyph glyph = fonts.glyph(character);
            if (font != glyph.font) {
                if (font) content += "> Tj\n";
                font = glyph.font;
                content += fmt::format("{} {} Tf\n<", fontName(*font), number(line.fontSize));
            }
            content += fmt::format("{:0{}X}", glyph.code, glyph.codeSize * 2);
        }
        if (font) content += "> Tj\n";
        content += "ET\n";
    }
    content += placement.isTagged ? "Q\nEMC\n" : "Q\n";
    return content;
}

} // namespace korvane
