#include "document/FileNaming.h"

#include "base/TimeText.h"
#include "text/FileName.h"
#include "text/Text.h"

namespace korvane {

namespace {

constexpr std::size_t maxNameLength = 80;

} // namespace

std::string sanitizedJobName(std::string_view jobName)
{
    // The system takes a NUL byte for the end of a name, so it is one.
    const std::string name = text::withoutRefusedCharacters(jobName.substr(0, jobName.find('\0')));
    const std::string_view trimmed = text::trimmingSpace(name);
    if (trimmed.empty()) return "Print Job";
    return std::string(text::prefix(trimmed, maxNameLength));
}

std::string fileName(std::string_view jobName, std::chrono::system_clock::time_point start)
{
    return text::fittingFileName(sanitizedJobName(jobName), " " + localTimestamp(start) + ".pdf");
}

} // namespace korvane
