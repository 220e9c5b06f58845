#pragma once

#include <string>
#include <string_view>

/** The code points of a text, and their Unicode properties. */
namespace korvane::text {

/** The code points of a text in UTF-8; bytes that are not well-formed are left out. */
std::u32string codePoints(std::string_view text);

/** The code points in UTF-8; values that are none are left out. */
std::string encodeUTF8(std::u32string_view codePoints);

/** Whether it is a control character (category Cc) or ends a line or a paragraph. */
bool isControl(char32_t codePoint);

/** Whether it is a letter or a number of any script (categories L and N). */
bool isLetterOrNumber(char32_t codePoint);

/** Whether it turns the direction of the text around it: the embeddings, overrides and isolates of
 *  the bidirectional algorithm (UAX #9, section 2). */
bool reordersText(char32_t codePoint);

/** 2 for letters as wide as high, as in East Asia, 0 for marks on another letter, else 1. */
int columnWidth(char32_t codePoint);

} // namespace korvane::text
