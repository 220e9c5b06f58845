#pragma once

#include "page/TextLine.h"

#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/** A word as it is drawn, in points. */
struct LayerWord {
    /** In visual order; without control characters and not empty. */
    std::u32string text;
    /** Where it begins, from the line's origin in the direction of the text. */
    double x = 0;
    double y = 0;
    double width = 0;
    double fontSize = 12;
    /** That of its glyphs at the font size; 0 where all of them are combining marks. */
    double naturalWidth = 0;
};

/** The words of a line in the order in which they are drawn. */
struct LayerLine {
    /** Of the text, in degrees counterclockwise. */
    double direction = 0;
    double fontSize = 12;
    std::vector<LayerWord> words;
};

/** A text without control characters and spaces at its ends; what ends a line becomes a space. */
std::u32string drawableText(std::string_view text);

/**
 * Words that are written from left to right keep their order. A line with others is drawn from left
 * to right, as it is seen: PDF viewers turn it back for searching and copying. Words without text
 * are left out, as are words and lines further away than any page is large.
 *
 * The font size is that at which the words are as wide as they are said to be, but no less than
 * half of the letters' height and no more than twice: letterspaced headings are not large.
 * Words narrower than half of what it makes them get a smaller one: poppler takes letters that
 * nearly coincide for one.
 *
 * Where the line is only a little tilted from a side of the page, the words are not, but follow it
 * like steps, each with its middle on the baseline: poppler takes letters whose baselines differ by
 * more than half a point for those of several words. It also takes words that nearly touch for one,
 * whatever is between them, so the first of them becomes narrower, but no less than half as wide.
 */
LayerLine makeLayerLine(const TextLine& line);

} // namespace korvane
