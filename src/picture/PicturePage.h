#pragma once

#include "ipp/PaperSize.h"
#include "pdf/ImagePage.h"
#include "picture/JPEGPicture.h"

namespace korvane {

/** The page that a picture, turned as its orientation says, is shown on: as large as the picture by
 *  its density or, if that is larger than the paper in the orientation in which it fits better, as
 *  fits there. */
ImagePage pageOf(const JPEGPicture& picture, const PaperSize& paper);

} // namespace korvane
