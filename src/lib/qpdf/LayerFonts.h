#pragma once

#include "lib/qpdf/QPDFHeaders.h"
#include "page/PageTextLayer.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace korvane {

/**
 * The fonts that the text layers of one document share. Helvetica sets what WinAnsiEncoding has;
 * everything else goes to a composite font whose codes we number ourselves and whose ToUnicode map
 * says what they mean (ISO 32000-1, 9.10.3). A composite font has room for 65535 characters; a
 * further one follows when it is full.
 */
class LayerFonts {
public:
    /** Where a character is: `code` in the font `font` has `codeSize` bytes. */
    struct Glyph {
        std::size_t font = 0;
        std::uint16_t code = 0;
        int codeSize = 1;
    };

    LayerFonts(QPDF& pdf, std::span<const PageTextLayer> layers);

    Glyph glyph(char32_t character) const;

    /**
     * The name of a font in the resources of a page, where it is entered unless it is there
     * already. Resources may be shared with other pages: they get a name more, which only a page
     * that we give a text layer uses.
     */
    std::string enter(std::size_t font, QPDFObjectHandle resources) const;

private:
    /** Those that Helvetica lacks, in ascending order. */
    std::u32string substituted_;
    std::vector<QPDFObjectHandle> fonts_;
    std::string namePrefix_;
};

} // namespace korvane
