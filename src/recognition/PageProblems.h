#pragma once

#include "base/Log.h"

#include <cstddef>
#include <map>
#include <string>
#include <utility>

namespace korvane {

/** Why pages of a document have no text, for the log. */
class PageProblems {
public:
    /** What became of a page. */
    enum class Kind {
        notRead, ///< its existing text, at least
        notRendered,
        notRecognized, ///< by Tesseract, or its worker failed
    };

    /** Pages are counted from 0. */
    void add(std::size_t page, Kind kind, std::string reason);

    /** One line for each run of pages with the same problem; for each kind in the order of pages.
     */
    void logTo(Log& log) const;

private:
    std::map<std::pair<Kind, std::size_t>, std::string> reasons_;
};

} // namespace korvane
