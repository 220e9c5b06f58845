#include "document/TextSummary.h"

#include "text/Text.h"

#include <algorithm>

namespace korvane {

namespace {

constexpr std::string_view ellipsis = "…";

/** In one pass, so that four spaces become two. */
std::string halvingDoubleSpaces(std::string_view text)
{
    std::string halved;
    halved.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text.substr(i, 2) == "  ") ++i;
        halved += text[i];
    }
    return halved;
}

} // namespace

std::string makeSummary(std::string_view text, std::size_t limit)
{
    std::string line(text);
    std::ranges::replace(line, '\n', ' ');
    line = halvingDoubleSpaces(line);
    const std::string_view trimmed = text::trimmingSpace(line);
    if (trimmed.empty()) return "No text recognized.";
    const std::string_view summary = text::prefix(trimmed, limit);
    if (summary.size() == trimmed.size()) return std::string(trimmed);
    return std::string(summary).append(ellipsis);
}

} // namespace korvane
