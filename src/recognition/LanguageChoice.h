#pragma once

#include "page/Recognition.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

/** Chooses the languages that a page is recognized in, by how well it was read in those before. */
namespace korvane {

/** How well a page was read in a language. */
struct ReadingScore {
    /** Mean over the words, 0 to 100. */
    double confidence = 0;
    /** The share of the words that are in the language's dictionary, 0 to 1; 1 without words. */
    double known = 0;
    /** How many words there were to look up. */
    int words = 0;

    /** For comparison with another language's, 0 to 1. */
    double value() const { return confidence / 100 * (1 + known) / 2; }
};

ReadingScore scoreReading(const PageReading& reading);

/** Whether the page is certainly in this language: no other needs to be tried. */
bool readsWell(const ReadingScore& score);

/** Whether the page may be in this language: others are tried only if something speaks for them. */
bool readsDecently(const ReadingScore& score);

/** Whether the words are enough to tell a language by. */
bool tellsLanguage(const ReadingScore& score);

/** Whether a reading is so much better that its language is preferred to the one tried before. One
 *  that the time limit ended and that has fewer words counts less by as much. */
bool readsBetter(const PageReading& reading, const PageReading& before);

/** Languages as Tesseract names them ("deu"). */
struct LanguageOptions {
    /** Those whose data is installed. */
    std::vector<std::string> installed;
    /** Those of the user, in order of preference, installed or not. */
    std::vector<std::string> users;
    /** That of the latest page of this document that was read well; empty before there is one. */
    std::string ofDocument;
    /** Those that pages of earlier documents were read well in, the latest first. */
    std::vector<std::string> earlier;
};

/** A page's recognition in one language; without a reading where the language could not be used. */
struct LanguageTrial {
    std::string language;
    std::optional<PageReading> reading;
};

/** The reading of a page that is the best of all; null while there is none. */
const LanguageTrial* bestTrial(std::span<const LanguageTrial> trials);

/**
 * The language to recognize a page in next, given what was tried; nothing when the best reading is
 * to be taken. A page is read in at most three languages: one that it is likely in to begin with,
 * and where it does not read well in that, those that speak for themselves: the most common of the
 * script that it is in, those that its words are in, and the user's others.
 */
std::optional<std::string> nextLanguage(const LanguageOptions& options,
                                        std::span<const LanguageTrial> trials);

} // namespace korvane
