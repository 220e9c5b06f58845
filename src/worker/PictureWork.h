#pragma once

#include "worker/RequestTable.h"

namespace korvane {

/** Has the table serve the requests on pictures. Nothing is kept between two. */
void servePictures(RequestTable& table);

} // namespace korvane
