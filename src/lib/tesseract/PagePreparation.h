#pragma once

#include "lib/tesseract/PageGeometry.h"
#include "lib/tesseract/Pixels.h"

#include <cstddef>

/** Makes of a page as a scanner or a camera sees it one that can be recognized. All give null
 *  bitmaps when there is no memory. */
namespace korvane {

/** A page with even light, white paper, no pictures and no specks. */
struct CleanedPage {
    /** 8 bits a pixel. */
    OwnedPix gray;
    /** 1 bit a pixel: what may be text. */
    OwnedPix ink;

    explicit operator bool() const { return gray && ink; }
    /** Whether there is too little ink for a single letter. */
    bool isBlank() const;
};

/** Cleans a bitmap of 8 bits a pixel. */
CleanedPage cleanPage(const OwnedPix& rendered);

/** How the lines of a page become level. */
struct Leveling {
    PageGeometry geometry;
    enum class Lines {
        none,      ///< nothing on the page looks like lines
        uncertain, ///< they may as well stand on their side, as in a table
        level,     ///< though they may be upside down
    };
    Lines lines = Lines::none;
};

/** Finds whether the lines of a page stand on their side, how far they are tilted (up to 12
 * degrees) and whether they fan out. */
Leveling findLeveling(const CleanedPage& page, double resolution);

/** The geometry of the same page turned clockwise by quarter turns more. */
PageGeometry turnedFurther(PageGeometry geometry, int quarterTurns);

/** The page with its lines level. */
CleanedPage straightened(const CleanedPage& page, const PageGeometry& geometry);

/** How many letters a page has, about, and how high they are for the most part, in pixels. */
struct Letters {
    std::size_t count = 0;
    int height = 0;
};
Letters measureLetters(const CleanedPage& straight);

/** How certainly the letters of a straightened page stand upright; negative when they are upside
 *  down. Reliable from 8 on, for scripts with ascenders and descenders. */
double uprightness(const CleanedPage& straight);

} // namespace korvane
