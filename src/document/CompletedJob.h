#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace korvane {

/** A job whose document is on the disk. */
struct CompletedJob {
    std::filesystem::path pdfURL;
    /** The text of all pages, page texts joined with an empty line between them. */
    std::string plainText;
    /** `plainText` on one line, at most 200 characters and an ellipsis. */
    std::string summary;
    /** The name that the client gave the job. */
    std::string jobName;
    /** As in DocumentText. */
    std::size_t pages = 0;
    std::size_t words = 0;
    std::string language = {};
};

} // namespace korvane
