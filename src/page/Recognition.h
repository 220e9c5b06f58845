#pragma once

#include "page/BitmapSize.h"
#include "page/TextLine.h"

#include <string>
#include <vector>

namespace korvane {

/** What was recognized on a page in one language. */
struct PageReading {
    /** Of the page as it was rendered. */
    BitmapSize bitmap;
    /** In reading order; each has a word at least. */
    std::vector<TextLine> lines;
    /** The mean over the words, 0 to 100; 0 without words. */
    double confidence = 0;
    /** How many words a dictionary may have: of several letters and no digit. */
    int words = 0;
    /** How many of them are in the language's dictionary. */
    int dictionaryWords = 0;
    /** The script as Tesseract names it: "Latin", "Cyrillic", "Han"; empty when it was not asked
     *  for, because the page was recognized well, or is unknown. */
    std::string script;
    /** In which languages the words are, the likeliest first, as ISO 639 codes ("de"); empty where
     *  they do not tell. */
    std::vector<std::string> likelyLanguages;
    /** False when the time limit ended the recognition: these are the lines found until then. */
    bool isComplete = true;

    friend bool operator==(const PageReading&, const PageReading&) = default;
};

} // namespace korvane
