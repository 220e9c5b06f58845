#pragma once

#include "recognition/OCRPage.h"

#include <cstddef>
#include <string>
#include <vector>

namespace korvane {

/** What was found in a document. */
struct DocumentText {
    /** The text of all pages, page texts joined with an empty line between them. */
    std::string plainText;
    /** 0 where the document could not be read. */
    std::size_t pages = 0;
    std::size_t words = 0;
    /** The language that most of its pages were recognized in (BCP 47); empty where none was. */
    std::string language;
};

DocumentText textOf(const std::vector<OCRPageResult>& pages);

} // namespace korvane
