#include "platform/text/CodePoints.h"

#include <utf8proc.h>

#include <algorithm>
#include <array>

namespace korvane::text {

std::u32string codePoints(std::string_view text)
{
    std::u32string result;
    while (!text.empty()) {
        utf8proc_int32_t codePoint = -1;
        const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
        const auto length = static_cast<utf8proc_ssize_t>(std::min<std::size_t>(text.size(), 4));
        const utf8proc_ssize_t used = utf8proc_iterate(bytes, length, &codePoint);
        if (used > 0) result += static_cast<char32_t>(codePoint);
        text.remove_prefix(used > 0 ? static_cast<std::size_t>(used) : 1);
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
    const utf8proc_category_t category =
        utf8proc_category(static_cast<utf8proc_int32_t>(codePoint));
    return category == UTF8PROC_CATEGORY_CC || category == UTF8PROC_CATEGORY_ZL ||
           category == UTF8PROC_CATEGORY_ZP;
}

int columnWidth(char32_t codePoint)
{
    return std::clamp(utf8proc_charwidth(static_cast<utf8proc_int32_t>(codePoint)), 0, 2);
}

Direction directionOf(char32_t codePoint)
{
    switch (utf8proc_get_property(static_cast<utf8proc_int32_t>(codePoint))->bidi_class) {
    case UTF8PROC_BIDI_CLASS_L: return Direction::leftToRight;
    case UTF8PROC_BIDI_CLASS_R:
    case UTF8PROC_BIDI_CLASS_AL: return Direction::rightToLeft;
    case UTF8PROC_BIDI_CLASS_EN:
    case UTF8PROC_BIDI_CLASS_AN: return Direction::number;
    case UTF8PROC_BIDI_CLASS_NSM:
    case UTF8PROC_BIDI_CLASS_BN: return Direction::mark;
    default: return Direction::neutral;
    }
}

} // namespace korvane::text
