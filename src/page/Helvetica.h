#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/**
 * The metrics of Helvetica, one of the standard fonts that every PDF viewer has (ISO 32000-1,
 * 9.6.2.2), after Adobe's font metrics. Widths are in thousandths of the font size.
 */
namespace korvane::helvetica {

/**
 * The character's code in WinAnsiEncoding (ISO 32000-1, Annex D.2). Nothing for characters that it
 * lacks, and for the no-break space and the soft hyphen, which there are a mere space and hyphen.
 */
std::optional<std::uint8_t> winAnsiCode(char32_t character);

/** The width of a character outside WinAnsiEncoding, for which Helvetica has no glyph: nothing for
 *  a combining mark, the square of the font size for East Asian letters, else that of a digit. */
int substituteWidth(char32_t character);

/** How wide a text is at a font size, in the unit of the size. */
double textWidth(std::u32string_view text, double fontSize);

} // namespace korvane::helvetica
