#pragma once

#include "lib/tesseract/PageGeometry.h"
#include "lib/tesseract/PixelBox.h"
#include "page/TextLine.h"

#include <string>
#include <vector>

namespace tesseract {
class TessBaseAPI;
}

/** What Tesseract found on a straightened bitmap, in its pixels. */
namespace korvane {

struct FoundWord {
    /** UTF-8. */
    std::string text;
    /** 0 to 100. */
    double confidence = 0;
    bool isInDictionary = false;
    PixelBox box;

    /** Whether it is beyond doubt. */
    bool isCertain() const;
    /** Whether a dictionary may have it: of three letters at least and no digit. */
    bool canBeLookedUp() const;
};

struct FoundLine {
    /** In reading order. */
    std::vector<FoundWord> words;
    PixelPoint baselineStart;
    PixelPoint baselineEnd;

    /** The mean over the words. */
    double confidence() const;
};

/** All lines of text that the API has recognized. */
std::vector<FoundLine> foundLines(tesseract::TessBaseAPI& api);

/** What was found on a bitmap that was made smaller or larger, in the pixels of the original. */
void scale(std::vector<FoundLine>& lines, double factor);

/** Leaves out what is no text: marks of dirt, edges of pictures, patterns. */
void dropNoise(std::vector<FoundLine>& lines);

/** The line where it is seen on the page. */
TextLine placed(const FoundLine& line, const PageGeometry& geometry);

} // namespace korvane
