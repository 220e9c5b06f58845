#pragma once

#include <string>
#include <vector>

namespace korvane {

/** A part of a picture in pixels: rows are counted downwards, `right` and `bottom` lie outside. */
struct PixelBox {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    int width() const { return right - left; }
    int height() const { return bottom - top; }

    friend bool operator==(const PixelBox&, const PixelBox&) = default;
};

/** One line of text as it was read from a picture. */
struct RecognizedLine {
    /** UTF-8, without a line end. */
    std::string text;
    /** How sure the recogniser is of it, 0 to 100. */
    double confidence = 0;
    /** How many words it has that one could look up: of several letters and no digit. */
    int words = 0;
    /** As many of them are in the language's dictionary. */
    int dictionaryWords = 0;

    friend bool operator==(const RecognizedLine&, const RecognizedLine&) = default;
};

/** Which way up a page's letters are, and which letters they are. */
struct PageOrientation {
    /** Quarter turns clockwise that set the page upright, 0 to 3. */
    int quarterTurns = 0;
    /** Past 1 or 2 the answer can be relied on; 0 when nothing was found out. */
    double confidence = 0;
    /** The script as Tesseract names it: "Latin", "Cyrillic", "Han"; empty when not found out. */
    std::string script;
    double scriptConfidence = 0;

    friend bool operator==(const PageOrientation&, const PageOrientation&) = default;
};

} // namespace korvane
