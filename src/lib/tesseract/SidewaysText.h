#pragma once

#include "lib/tesseract/FoundText.h"
#include "lib/tesseract/PagePreparation.h"
#include "lib/tesseract/PixelBox.h"

#include <vector>

/** Lines that stand on their side on an upright page: labels along the margin, spines, stamps. They
 *  are looked for in strips of the straightened page. */
namespace korvane {

/** Where ink that is no part of the certain words of `lines` forms tall strips. */
std::vector<PixelBox> findStrips(const CleanedPage& straight, const std::vector<FoundLine>& lines,
                                 double resolution);

/** The page's strips alone, turned clockwise by quarter turns, on white. */
OwnedPix stripsAlone(const OwnedPix& gray, const std::vector<PixelBox>& strips, int quarterTurns);

/** Of the lines that were recognized on the strips turned once and turned three times: those of the
 *  direction in which their strip reads well. The first direction's come first. */
struct SidewaysLines {
    std::vector<FoundLine> turnedOnce;
    std::vector<FoundLine> turnedThrice;
    /** The strips that these are in. */
    std::vector<PixelBox> strips;
};
SidewaysLines chooseDirections(const std::vector<PixelBox>& strips,
                               std::vector<FoundLine> turnedOnce,
                               std::vector<FoundLine> turnedThrice, int pageWidth, int pageHeight);

/** Leaves out the words of upright lines that were read into strips. */
void dropWordsInStrips(std::vector<FoundLine>& lines, const std::vector<PixelBox>& strips);

} // namespace korvane
