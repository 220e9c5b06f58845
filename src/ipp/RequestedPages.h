#pragma once

#include "ipp/IPPMessage.h"
#include "page/PageRange.h"

#include <vector>

namespace korvane::ipp {

/** The pages that a job is to have, by its page-ranges; none where it does not say, and so is to
 *  have all of them, as it is to have where it names more than 64. Ranges that are none are left
 *  out. */
std::vector<PageRange> requestedPages(const IPPMessage& request);

} // namespace korvane::ipp
