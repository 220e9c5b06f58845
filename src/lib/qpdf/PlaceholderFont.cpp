#include "lib/qpdf/PlaceholderFont.h"

#include <array>
#include <cstddef>
#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

namespace korvane::placeholder {

namespace {

/** By glyph; the first stands for characters that the font lacks. */
constexpr std::array<std::uint16_t, 4> widths = {556, 556, 1000, 0};

constexpr int ascent = 718;
constexpr int descent = -207;
constexpr std::uint32_t version1 = 0x00010000;
constexpr std::size_t adjustmentOffset = 8;

/** Numbers as the font format has them: the most significant byte first. */
class Table {
public:
    Table& words(std::initializer_list<int> values)
    {
        for (const int value : values) word(static_cast<std::uint16_t>(value));
        return *this;
    }
    Table& word(std::uint16_t value)
    {
        bytes_ += static_cast<char>(value >> 8);
        bytes_ += static_cast<char>(value & 0xFF);
        return *this;
    }
    Table& longs(std::initializer_list<std::uint32_t> values)
    {
        for (const std::uint32_t value : values) {
            word(static_cast<std::uint16_t>(value >> 16));
            word(static_cast<std::uint16_t>(value & 0xFFFF));
        }
        return *this;
    }
    std::string take() { return std::move(bytes_); }

private:
    std::string bytes_;
};

std::string headTable()
{
    return Table()
        .longs({version1, version1, 0, 0x5F0F3CF5})
        .words({0, 1000})
        .longs({0, 0, 0, 0})
        .words({0, descent, 1000, ascent, 0, 8, 2, 0, 0})
        .take();
}

std::string horizontalHeaderTable()
{
    return Table()
        .longs({version1})
        .words({ascent, descent, 0, 1000, 0, 0, 1000, 1, 0, 0, 0, 0, 0, 0, 0, widths.size()})
        .take();
}

std::string horizontalMetricsTable()
{
    Table table;
    for (const std::uint16_t width : widths) table.words({width, 0});
    return table.take();
}

/** A glyph's outline: a rectangle as wide as the glyph, nothing for one without a width. */
std::string outline(int width)
{
    if (width == 0) return "";
    constexpr int contours = 1, lastPoint = 3, noInstructions = 0;
    constexpr int bothOnCurve = 0x0101;
    return Table()
        .words({contours, 0, descent, width, ascent, lastPoint, noInstructions})
        .words({bothOnCurve, bothOnCurve})
        .words({0, 0, width, 0})
        .words({descent, ascent - descent, 0, descent - ascent})
        .take();
}

std::string glyphTable()
{
    std::string table;
    for (const std::uint16_t width : widths) table += outline(width);
    return table;
}

/** Where each glyph begins in the glyph table and the last one ends, in units of two bytes. */
std::string locationTable()
{
    Table table;
    std::size_t offset = 0;
    table.word(0);
    for (const std::uint16_t width : widths) {
        offset += outline(width).size();
        table.word(static_cast<std::uint16_t>(offset / 2));
    }
    return table.take();
}

std::string maximumProfileTable()
{
    return Table()
        .longs({version1})
        .words({widths.size(), 4, 1, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0})
        .take();
}

std::string postScriptTable()
{
    return Table().longs({0x00030000, 0, 0, 0, 0, 0, 0, 0}).take();
}

std::uint32_t checksum(std::string_view bytes)
{
    std::uint32_t sum = 0;
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        sum += static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[index]))
               << (24 - index % 4 * 8);
    }
    return sum;
}

} // namespace

std::string fontProgram()
{
    const std::vector<std::pair<std::string_view, std::string>> tables = {
        {"glyf", glyphTable()},
        {"head", headTable()},
        {"hhea", horizontalHeaderTable()},
        {"hmtx", horizontalMetricsTable()},
        {"loca", locationTable()},
        {"maxp", maximumProfileTable()},
        {"post", postScriptTable()}};

    std::string font = Table().longs({version1}).words({7, 64, 2, 48}).take();
    std::string body;
    std::size_t head = 0;
    const std::size_t bodyOffset = font.size() + tables.size() * 16;
    for (const auto& [name, content] : tables) {
        const std::size_t offset = bodyOffset + body.size();
        if (name == "head") head = offset;
        font += name;
        font += Table()
                    .longs({checksum(content), static_cast<std::uint32_t>(offset),
                            static_cast<std::uint32_t>(content.size())})
                    .take();
        body += content;
        body.resize((body.size() + 3) / 4 * 4);
    }
    font += body;
    font.replace(head + adjustmentOffset, 4, Table().longs({0xB1B0AFBA - checksum(font)}).take());
    return font;
}

std::uint16_t glyphOfWidth(int width)
{
    if (width == 0) return 3;
    return width == 1000 ? 2 : 1;
}

} // namespace korvane::placeholder
