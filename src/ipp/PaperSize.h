#pragma once

#include <cstdint>

namespace korvane {

/** A sheet, in hundredths of a millimeter as in media-size (PWG 5100.7). */
struct PaperSize {
    std::int32_t width = 21000;
    std::int32_t height = 29700;

    friend bool operator==(const PaperSize&, const PaperSize&) = default;
};

} // namespace korvane
