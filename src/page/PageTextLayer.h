#pragma once

#include "page/TextLine.h"

#include <vector>

namespace korvane {

/** The lines that are laid invisibly over one page. */
struct PageTextLayer {
    std::vector<TextLine> lines;

    friend bool operator==(const PageTextLayer&, const PageTextLayer&) = default;
};

} // namespace korvane
