#include "document/FileNaming.h"

#include "platform/system/TimeText.h"
#include "platform/text/Text.h"

#include <algorithm>

namespace korvane {

namespace {

constexpr std::string_view replacedCharacters = R"(/:\?%*|"<>)";
constexpr char replacement = '_';
constexpr std::size_t longestName = 80;
constexpr std::size_t longestFileName = 255;

} // namespace

std::string sanitizedJobName(std::string_view jobName)
{
    // The system takes a NUL byte for the end of a name, so it is one.
    std::string name(jobName.substr(0, jobName.find('\0')));
    std::ranges::replace_if(
        name, [](char c) { return replacedCharacters.find(c) != std::string_view::npos; },
        replacement);
    const std::string_view trimmed = text::trimmingSpace(name);
    if (trimmed.empty()) return "Print Job";
    return std::string(text::prefix(trimmed, longestName));
}

std::string fileName(std::string_view jobName, std::chrono::system_clock::time_point start)
{
    const std::string ending = " " + localTimestamp(start) + ".pdf";
    const std::string name = sanitizedJobName(jobName);
    return std::string(text::prefixFitting(name, longestFileName - ending.size())) + ending;
}

} // namespace korvane
