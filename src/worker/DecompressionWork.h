#pragma once

#include "worker/RequestTable.h"

namespace korvane {

/** Has the table serve the requests on compressed documents. Nothing is kept between two. */
void serveDecompression(RequestTable& table);

} // namespace korvane
