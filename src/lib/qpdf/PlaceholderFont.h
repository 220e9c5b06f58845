#pragma once

#include <cstdint>
#include <string>

namespace korvane::placeholder {

/**
 * A TrueType font whose glyphs are rectangles and differ in width only, 1000 units to the em. Text
 * that is never painted needs no more, but viewers that find no font program look for a font of
 * their own and complain when they lack one. MuPDF finds no text whose glyphs are all blank.
 */
std::string fontProgram();

/** The glyph of a width, which is one of those that helvetica::substituteWidth gives. */
std::uint16_t glyphOfWidth(int width);

} // namespace korvane::placeholder
