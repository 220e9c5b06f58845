#include "text/CodePoints.h"

#include "text/Text.h"

#include <utf8proc.h>

#include <algorithm>
#include <array>

namespace korvane::text {

namespace {

utf8proc_category_t categoryOf(char32_t codePoint)
{
    return utf8proc_category(static_cast<utf8proc_int32_t>(codePoint));
}

} // namespace

std::u32string codePoints(std::string_view text)
{
    std::u32string result;
    while (!text.empty()) {
        if (const auto codePoint = takeSequence(text).codePoint) result += *codePoint;
    }
    return result;
}

std::string encodeUTF8(std::u32string_view codePoints)
{
    std::string result;
    for (const char32_t codePoint : codePoints) {
        if (!utf8proc_codepoint_valid(static_cast<utf8proc_int32_t>(codePoint))) continue;
        std::array<utf8proc_uint8_t, 4> encoded{};
        const auto length =
            utf8proc_encode_char(static_cast<utf8proc_int32_t>(codePoint), encoded.data());
        result.append(encoded.begin(), encoded.begin() + length);
    }
    return result;
}

bool isControl(char32_t codePoint)
{
    const utf8proc_category_t category = categoryOf(codePoint);
    return category == UTF8PROC_CATEGORY_CC || category == UTF8PROC_CATEGORY_ZL ||
           category == UTF8PROC_CATEGORY_ZP;
}

bool isLetterOrNumber(char32_t codePoint)
{
    switch (categoryOf(codePoint)) {
    case UTF8PROC_CATEGORY_LU:
    case UTF8PROC_CATEGORY_LL:
    case UTF8PROC_CATEGORY_LT:
    case UTF8PROC_CATEGORY_LM:
    case UTF8PROC_CATEGORY_LO:
    case UTF8PROC_CATEGORY_ND:
    case UTF8PROC_CATEGORY_NL:
    case UTF8PROC_CATEGORY_NO: return true;
    default: return false;
    }
}

bool reordersText(char32_t codePoint)
{
    return (codePoint >= 0x202A && codePoint <= 0x202E) ||
           (codePoint >= 0x2066 && codePoint <= 0x2069);
}

int columnWidth(char32_t codePoint)
{
    return std::clamp(utf8proc_charwidth(static_cast<utf8proc_int32_t>(codePoint)), 0, 2);
}

} // namespace korvane::text
