#pragma once

#include <string>
#include <string_view>

namespace korvane {

/**
 * A line's characters as they stand on paper, from left to right, given as they are read: what is
 * written from right to left is turned round, the numbers in it are not. This is the Unicode
 * bidirectional algorithm (UAX #9) without explicit embeddings and mirrored brackets. PDF viewers
 * expect text drawn like this and turn it back for searching and copying.
 */
std::u32string visualOrder(std::u32string_view line);

} // namespace korvane
