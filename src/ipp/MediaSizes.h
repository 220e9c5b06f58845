#pragma once

#include "ipp/PaperSize.h"

#include <array>
#include <cstdint>

namespace korvane {

/** A sheet that clients offer to people. */
struct MediaSize {
    /** As PWG 5101.1 names it. */
    const char* name;
    PaperSize size;
};

/** The one that is taken where a job names none, first. A sheet is printed to its edges. */
inline constexpr std::array mediaSizes = {
    MediaSize{"iso_a4_210x297mm", {21000, 29700}},
    MediaSize{"iso_a3_297x420mm", {29700, 42000}},
    MediaSize{"iso_a5_148x210mm", {14800, 21000}},
    MediaSize{"iso_a6_105x148mm", {10500, 14800}},
    MediaSize{"iso_b5_176x250mm", {17600, 25000}},
    MediaSize{"iso_c5_162x229mm", {16200, 22900}},
    MediaSize{"iso_dl_110x220mm", {11000, 22000}},
    MediaSize{"jis_b4_257x364mm", {25700, 36400}},
    MediaSize{"jis_b5_182x257mm", {18200, 25700}},
    MediaSize{"jpn_hagaki_100x148mm", {10000, 14800}},
    MediaSize{"na_letter_8.5x11in", {21590, 27940}},
    MediaSize{"na_legal_8.5x14in", {21590, 35560}},
    MediaSize{"na_ledger_11x17in", {27940, 43180}},
    MediaSize{"na_executive_7.25x10.5in", {18415, 26670}},
    MediaSize{"na_invoice_5.5x8.5in", {13970, 21590}},
    MediaSize{"na_number-10_4.125x9.5in", {10478, 24130}},
    MediaSize{"na_index-4x6_4x6in", {10160, 15240}},
    MediaSize{"na_5x7_5x7in", {12700, 17780}},
    MediaSize{"oe_photo-l_3.5x5in", {8890, 12700}},
};

/** Any sheet between these two is taken as well. The larger one is A1, of which a raster page of 24
 *  bits a pixel at 300 dpi is not larger than a page may be. */
inline constexpr MediaSize minCustomSize{"custom_min_25x25mm", {2500, 2500}};
inline constexpr MediaSize maxCustomSize{"custom_max_594x841mm", {59400, 84100}};

} // namespace korvane
