#include "recognition/PageProblems.h"

#include <fmt/format.h>

#include <iterator>
#include <utility>

namespace korvane {

namespace {

std::string lineOf(PageProblems::Kind kind, const std::string& pages, const std::string& reason)
{
    switch (kind) {
    case PageProblems::Kind::notRead:
        return fmt::format("OCR: pages could not be read: {}: {}", pages, reason);
    case PageProblems::Kind::notRendered:
        return fmt::format("OCR: {} could not be rendered: {}", pages, reason);
    case PageProblems::Kind::notRecognized: break;
    }
    return fmt::format("OCR: Vision perform failed: {}: {}", pages, reason);
}

std::string pageRange(std::size_t first, std::size_t last)
{
    return first == last ? fmt::format("page {}", first + 1)
                         : fmt::format("pages {} to {}", first + 1, last + 1);
}

} // namespace

void PageProblems::add(std::size_t page, Kind kind, std::string reason)
{
    reasons_.insert_or_assign({kind, page}, std::move(reason));
}

void PageProblems::logTo(Log& log) const
{
    for (auto first = reasons_.begin(); first != reasons_.end();) {
        const auto& [kind, page] = first->first;
        auto last = first;
        auto next = std::next(first);
        while (next != reasons_.end() && next->first.first == kind &&
               next->first.second == last->first.second + 1 && next->second == first->second)
            last = next++;
        log.error(lineOf(kind, pageRange(page, last->first.second), first->second));
        first = next;
    }
}

} // namespace korvane
