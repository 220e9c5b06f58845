#pragma once

#include "ipp/IPPMessage.h"

#include <array>
#include <cstdint>
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

/** In hundredths of a millimeter, on each side. Pages are printed to their edges; but CUPS takes
 *  sheets without margins for such that are meant for photographs alone, and finds its default
 *  among the others. So each sheet comes with the thinnest margins there are, too. */
inline constexpr std::array<std::int32_t, 2> mediaMargins = {0, 1};

/** As media-col-default for each sheet, in the same order. */
std::vector<IPPValue> readyMediaCollections();

/** The same with each of `mediaMargins`. The last gives the ranges of custom sizes. */
std::vector<IPPValue> allMediaCollections();

/** The media-size of each sheet, and last the ranges of custom sizes. */
std::vector<IPPValue> mediaSizeCollections();

} // namespace korvane::ipp
