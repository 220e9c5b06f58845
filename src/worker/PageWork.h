#pragma once

#include "worker/RequestTable.h"

namespace korvane {

/** Has the table serve the requests that copy pages. Nothing is kept between two. */
void servePages(RequestTable& table);

} // namespace korvane
