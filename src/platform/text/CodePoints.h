#pragma once

#include <string>
#include <string_view>

/** The code points of a text, and what Unicode knows of each. */
namespace korvane::text {

/** The code points of a text in UTF-8; bytes that are not well-formed are left out. */
std::u32string codePoints(std::string_view text);

/** The code points in UTF-8; values that are none are left out. */
std::string encodeUTF8(std::u32string_view codePoints);

/** Whether it is a control character (category Cc) or ends a line or a paragraph. */
bool isControl(char32_t codePoint);

/** 2 for letters as wide as high, as in East Asia, 0 for marks on another letter, else 1. */
int columnWidth(char32_t codePoint);

/** How a character is written in a line (UAX #9). */
enum class Direction { leftToRight, rightToLeft, number, mark, neutral };

Direction directionOf(char32_t codePoint);

} // namespace korvane::text
