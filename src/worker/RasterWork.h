#pragma once

#include "worker/RequestTable.h"

namespace korvane {

/** Has the table serve the requests on raster documents. Nothing is kept between two. */
void serveRasters(RequestTable& table);

} // namespace korvane
