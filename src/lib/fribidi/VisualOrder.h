#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace korvane {

/**
 * The indices of a line's characters in visual order, from left to right; the line is in logical
 * order (UAX #9). Text that is written from right to left is reversed, numbers in it are not. PDF
 * viewers expect text drawn like this and turn it back for searching and copying.
 */
std::vector<std::size_t> visualOrder(std::u32string_view line);

} // namespace korvane
