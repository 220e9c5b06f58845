#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/**
 * Unicode text in UTF-8. Every function takes any bytes: an ill-formed sequence counts as one
 * character a byte and is neither white space nor a letter.
 */
namespace korvane::text {

/** The bytes as a string, or the empty string when they are not well-formed UTF-8 (RFC 3629). */
std::string decodeUTF8(std::span<const std::uint8_t> bytes);

bool isWellFormedUTF8(std::string_view text);

/** One code point as it stands in a text, or one byte of an ill-formed sequence. */
struct Sequence {
    std::string_view bytes;
    std::optional<char32_t> codePoint;
};

/** Takes the first sequence off the front of a text, which must not be empty. */
Sequence takeSequence(std::string_view& text);

/** Without the tabs and Unicode space separators (category Zs) at both ends; line ends stay. */
std::string_view trimmingHorizontalSpace(std::string_view text);

/** Without the white space and line ends at both ends: the above, U+000A to U+000D, U+0085, U+2028,
 *  U+2029. */
std::string_view trimmingSpace(std::string_view text);

/** Every letter in its lower-case form (Unicode simple case mapping). */
std::string lowercased(std::string_view text);

/** How many user-perceived characters there are: extended grapheme clusters (UAX #29). */
std::size_t characterCount(std::string_view text);

/** How many words there are: what stands between white space and holds a letter or a number. */
std::size_t wordCount(std::string_view text);

/** The first `count` user-perceived characters, or all of them. */
std::string_view prefix(std::string_view text, std::size_t count);

/** As many whole user-perceived characters from the front as fit into `bytes` bytes. */
std::string_view prefixFitting(std::string_view text, std::size_t bytes);

/** As much from the front as fits into `bytes` bytes without cutting a UTF-8 sequence. */
std::string_view prefixOfSequences(std::string_view text, std::size_t bytes);

} // namespace korvane::text
