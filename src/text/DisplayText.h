#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace korvane::text {

/**
 * A stranger's text as it may be shown to the user: at most `limit` user-perceived characters and
 * an ellipsis, at most 8 bytes a character on average. Controls become spaces,
 * bytes that are not UTF-8 the replacement character, and what would reorder the text around it
 * (embeddings, overrides and isolates, UAX #9) is left out. Line ends stay.
 */
std::string displayText(std::string_view text, std::size_t limit);

/** The same on one line. */
std::string displayLine(std::string_view text, std::size_t limit);

/** The same on one line as the title of a document: without space at its ends and without the
 *  ellipsis; "Untitled" where nothing is left. */
std::string displayTitle(std::string_view text, std::size_t limit);

} // namespace korvane::text
