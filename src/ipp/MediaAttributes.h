#pragma once

#include "ipp/IPPMessage.h"

#include <string>
#include <vector>

/** What IPP Everywhere tells of the sheets in `mediaSizes` (PWG 5100.7, PWG 5100.3 section 3.13).
 */
namespace korvane::ipp {

/** Plain paper of the size that is taken where a job names none, from whichever tray, printed to
 *  its edges. */
IPPValue defaultMediaCollection();

/** The names of that collection's members. */
std::vector<std::string> mediaCollectionMembers();

/** The names of all sheets; with those that say from where to where custom sizes go, or without
 *  them. */
std::vector<std::string> mediaNames(bool withCustomSizes);

/** As media-col-default for each sheet, in the same order. The last of those with custom sizes
 *  gives ranges. */
std::vector<IPPValue> mediaCollections(bool withCustomSizes);

/** The media-size member of each of `mediaCollections(true)`. */
std::vector<IPPValue> mediaSizeCollections();

} // namespace korvane::ipp
