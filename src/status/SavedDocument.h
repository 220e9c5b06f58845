#pragma once

#include <cstdint>
#include <string>

namespace korvane {

/** A document in its save folder, as it was when it was saved. */
struct SavedDocument {
    /** The name of its job. */
    std::string name;
    /** When it was saved, in seconds since 1970 (UTC). */
    std::int64_t time = 0;
    std::string path;
    /** 0 where the document could not be read. */
    std::uint32_t pages = 0;
    /** How many words its text has, whether it had them or they were recognized. */
    std::uint32_t words = 0;
    /** In which most of its pages were recognized (BCP 47); empty where none was. */
    std::string language;

    friend bool operator==(const SavedDocument&, const SavedDocument&) = default;
};

} // namespace korvane
