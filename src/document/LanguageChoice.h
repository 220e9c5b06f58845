#pragma once

#include "platform/documents/Recognition.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

/** Which language a page is in, judged by how well a few of its lines read in each. */
namespace korvane {

/** How lines read in a language. */
struct ReadingScore {
    /** Mean over the lines, 0 to 100. */
    double confidence = 0;
    /** The part of the words that the language's dictionary has, 0 to 1; 1 without words. */
    double known = 0;
    /** How many words there were to look up. */
    int words = 0;

    /** For comparison with another language's, 0 to 1. */
    double value() const { return confidence / 100 * (1 + known) / 2; }
};

ReadingScore scoreReading(std::span<const RecognizedLine> lines);

/** The lines are surely in this language: no other needs to be tried. */
bool readsWell(const ReadingScore& score);

/** The letters themselves could hardly be read: another script, or the page lies on its side. */
bool readsPoorly(const ReadingScore& score);

/** Whether a language reads so much better that it is to be preferred to the one tried before. */
bool readsBetter(const ReadingScore& score, const ReadingScore& before);

/** The languages of `installed` that are written in a script, as Tesseract names both: those of the
 *  user first and in their order, English after them. */
std::vector<std::string> languagesOfScript(std::string_view script,
                                           std::span<const std::string> installed,
                                           std::span<const std::string> users);

/** The script in which a language is written; Latin for those that are not known. */
std::string_view scriptOfLanguage(std::string_view language);

} // namespace korvane
