#pragma once

#include "ipp/PaperSize.h"
#include "page/PageRange.h"

#include <vector>

namespace korvane {

/** How the client says that the bytes of a document are compressed (RFC 8011 section 5.4.32). */
enum class Compression { none, deflate, gzip };

/** What a request says of its document, as far as that matters for making PDF of it. */
struct DocumentTraits {
    Compression compression = Compression::none;
    /** The paper of the job; the default one where the job names none. */
    PaperSize paper = {};
    /** The pages that are wanted; all of them where it is empty. */
    std::vector<PageRange> pages = {};
};

} // namespace korvane
