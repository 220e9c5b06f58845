#pragma once

#include "platform/base/Data.h"
#include "support/URFBuilder.h"

#include <string>
#include <vector>

namespace korvane::test {

struct RasterPDFPage {
    std::string mediaBox;
    std::string filter;
    std::string colorSpace;
    Raster raster;
};

/** The pages of a PDF made of raster pages, found as a viewer does: from the end of the file
 * through the cross-reference table. Throws std::runtime_error where the file is wrong. */
std::vector<RasterPDFPage> readRasterPDF(const Data& pdf);

} // namespace korvane::test
