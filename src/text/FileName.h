#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/** Names of files that every file system takes. */
namespace korvane::text {

/** The text with an underscore for each of the ten characters that some file system refuses in a
 *  name: / : \ ? % * | " < > */
std::string withoutRefusedCharacters(std::string_view text);

/** The name with the ending behind it, the name cut between characters so that both fit into so
 *  many bytes; most file systems take 255. */
std::string fittingFileName(std::string_view name, std::string_view ending,
                            std::size_t limit = 255);

} // namespace korvane::text
