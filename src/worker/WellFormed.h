#pragma once

#include "page/Recognition.h"

#include <cstddef>
#include <string>
#include <string_view>

/** Fonts and engines can map a page's text to anything; the agent refuses an answer with text that
 *  is not well-formed UTF-8 or too long. */
namespace korvane {

/** The text without the bytes that are not well-formed UTF-8, and cut after so many. */
std::string wellFormed(std::string_view text, std::size_t maxBytes);

/** The same for all words; those that get empty are left out, and lines without words. */
void makeWellFormed(PageReading& reading);

/** The words of all lines, with a space or a line end between two. */
std::string textOf(const PageReading& reading);

} // namespace korvane
