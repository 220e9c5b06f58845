#pragma once

#include <string>
#include <vector>

namespace korvane {

/** A word of a line, in points along the line's baseline from where the line begins. */
struct TextWord {
    /** UTF-8, in logical order (UAX #9), without spaces. */
    std::string text;
    /** Of its left edge. */
    double start = 0;
    double width = 0;

    friend bool operator==(const TextWord&, const TextWord&) = default;
};

/**
 * One line of text where it is seen on a page. Points from the lower-left corner of the media box
 * as the page is shown (after its /Rotate); y grows upwards.
 */
struct TextLine {
    /** The left end of the baseline. */
    double x = 0;
    double y = 0;
    /** The baseline's direction in degrees counterclockwise, more than -180 and at most 180: 0 on
     *  an upright page, 180 on one that is upside down. */
    double angle = 0;
    /** How far the letters reach above and below the baseline; neither is negative. */
    double ascent = 0;
    double descent = 0;
    /** In reading order. Between two words there is one space. */
    std::vector<TextWord> words;

    friend bool operator==(const TextLine&, const TextLine&) = default;
};

} // namespace korvane
