#pragma once

#include <string>
#include <vector>

namespace korvane {

/** One line of text to be set in Helvetica, in points: where it starts and how large it is. */
struct TextLine {
    /** UTF-8, in the order in which it is read. */
    std::string text;
    double x = 0;
    double baseline = 0;
    double fontSize = 0;

    friend bool operator==(const TextLine&, const TextLine&) = default;
};

/**
 * The lines of one page as it is read: the origin is the lower-left corner of the media box as it
 * is shown, after the page's /Rotate and after `quarterTurns` more, and y grows upwards.
 */
struct PageTextLayer {
    std::vector<TextLine> lines;
    /** How many quarter turns clockwise the page as shown needs for its words to stand upright. */
    int quarterTurns = 0;

    friend bool operator==(const PageTextLayer&, const PageTextLayer&) = default;
};

} // namespace korvane
