#pragma once

#include <string>
#include <string_view>

namespace korvane {

/**
 * The directory that stands for a folder of notes. Different folders have different directories,
 * spaces at the ends included, whatever their names hold: what a file name cannot hold, or what
 * would hide or disguise it, is percent-encoded; a name that is too long ends in its hash.
 */
std::string noteDirectoryName(std::string_view folder);

/** The file name of a note of this title, without its number and ending: at most 80 characters.
 *  Different titles may have the same. */
std::string noteFileStem(std::string_view title);

} // namespace korvane
