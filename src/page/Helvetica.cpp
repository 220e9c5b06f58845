#include "page/Helvetica.h"

#include "text/CodePoints.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace korvane::helvetica {

namespace {

constexpr char32_t firstCode = 0x20;

/** By code of WinAnsiEncoding, from the space on; 0 where we do not use the code. */
constexpr std::array<std::uint16_t, 224> widths = {
    278,  278, 355, 556, 556, 889,  667,  191,  333, 333,  389, 584, 278,  333, 278, 278, //
    556,  556, 556, 556, 556, 556,  556,  556,  556, 556,  278, 278, 584,  584, 584, 556, //
    1015, 667, 667, 722, 722, 667,  611,  778,  722, 278,  500, 667, 556,  833, 722, 778, //
    667,  778, 722, 667, 611, 722,  667,  944,  667, 667,  611, 278, 278,  278, 469, 556, //
    333,  556, 556, 500, 556, 556,  278,  556,  556, 222,  222, 500, 222,  833, 556, 556, //
    556,  556, 333, 500, 278, 556,  500,  722,  500, 500,  500, 334, 260,  334, 584, 0,   //
    556,  0,   222, 556, 333, 1000, 556,  556,  333, 1000, 667, 333, 1000, 0,   611, 0,   //
    0,    222, 222, 333, 333, 350,  556,  1000, 333, 1000, 500, 333, 944,  0,   500, 667, //
    0,    333, 556, 556, 556, 556,  260,  556,  333, 737,  370, 556, 584,  0,   737, 333, //
    400,  584, 333, 333, 333, 556,  537,  278,  333, 333,  365, 556, 834,  834, 834, 611, //
    667,  667, 667, 667, 667, 667,  1000, 722,  667, 667,  667, 667, 278,  278, 278, 278, //
    722,  722, 778, 778, 778, 778,  778,  584,  778, 722,  722, 722, 722,  667, 667, 611, //
    556,  556, 556, 556, 556, 556,  889,  500,  556, 556,  556, 556, 278,  278, 278, 278, //
    556,  556, 556, 556, 556, 556,  556,  584,  611, 556,  556, 556, 556,  500, 556, 500};

/** What WinAnsiEncoding has at 0x80 to 0x9F; elsewhere its codes are those of Unicode. */
constexpr std::array<char32_t, 32> upperControls = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

int characterWidth(char32_t character)
{
    const std::optional<std::uint8_t> code = winAnsiCode(character);
    return code ? widths[*code - firstCode] : substituteWidth(character);
}

} // namespace

std::optional<std::uint8_t> winAnsiCode(char32_t character)
{
    const bool isOwnCode =
        (character >= firstCode && character < 0x80) || (character >= 0xA0 && character <= 0xFF);
    if (isOwnCode) {
        if (widths[character - firstCode] == 0) return std::nullopt;
        return static_cast<std::uint8_t>(character);
    }
    const auto* const found = std::find(upperControls.begin(), upperControls.end(), character);
    if (character == 0 || found == upperControls.end()) return std::nullopt;
    return static_cast<std::uint8_t>(0x80 + (found - upperControls.begin()));
}

int substituteWidth(char32_t character)
{
    constexpr std::array<int, 3> byColumns = {0, 556, 1000};
    return byColumns[static_cast<std::size_t>(text::columnWidth(character))];
}

double textWidth(std::u32string_view text, double fontSize)
{
    double width = 0;
    for (const char32_t character : text) width += characterWidth(character);
    return width * fontSize / 1000;
}

} // namespace korvane::helvetica
