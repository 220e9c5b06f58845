#pragma once

#include "platform/documents/DocumentService.h"

#include <chrono>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace korvane {

/** What was read on a page, and in which position of the page. */
struct RecognizedPage {
    PagePicture picture;
    /** Quarter turns clockwise from the page as it is shown to the picture. */
    int readingTurns = 0;
    std::vector<PixelBox> lines;
    std::vector<RecognizedLine> texts;
};

/**
 * Reads one page: finds its lines, the language in which they read best, and turns the page upright
 * where it is not. A page in the user's language is read once; the lines tried out first count.
 */
class PageRecognition {
public:
    /** `languages` are those that are installed, `users` the user's own in their order. */
    PageRecognition(OpenDocument& document, std::span<const std::string> languages,
                    std::span<const std::string> users, std::size_t parallelism);

    /** Reads a page that was laid out. Waits; once workers have spent `limit` on it, it fails. */
    DocumentAnswer<RecognizedPage> read(LaidOutPage page, std::chrono::milliseconds limit);

private:
    struct Sample;

    DocumentAnswer<std::vector<RecognizedLine>> readLines(std::span<const std::size_t> indices,
                                                          std::size_t atOnce,
                                                          const std::string& language);
    DocumentAnswer<Sample> readSample(const std::string& language);
    DocumentAnswer<Sample> readFirstPossible(std::vector<std::string>& languages);
    DocumentAnswer<Sample> chooseLanguage();
    DocumentAnswer<Sample> tryOthers(Sample best, std::span<const std::string> languages);
    DocumentAnswer<std::string> setUpright();
    DocumentAnswer<RecognizedPage> readRest(Sample sample);
    void takePage(LaidOutPage page);
    bool isTooLate() const;

    OpenDocument& document_;
    const std::span<const std::string> languages_;
    const std::span<const std::string> users_;
    const std::size_t parallelism_;
    std::chrono::milliseconds limit_{0};
    LaidOutPage page_;
    int readingTurns_ = 0;
    /** The lines by which the language is chosen, as indices. */
    std::vector<std::size_t> sampled_;
};

} // namespace korvane
