#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/**
 * The languages that a text is reliably written in, the one with most of it first: at most three,
 * each with a fifth of the text at least. They are ISO 639 codes, "de" for example, some of them
 * with a script, "zh-Hant". None for a text that is not well-formed UTF-8, has only a few words, or
 * has more than a megabyte. Any thread.
 */
std::vector<std::string> detectLanguages(std::string_view utf8);

} // namespace korvane
