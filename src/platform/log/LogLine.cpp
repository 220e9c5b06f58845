#include "platform/log/LogLine.h"

#include "platform/text/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace korvane {

namespace {

bool isShownAsIs(std::string_view sequence)
{
    if (sequence.size() == 1) return sequence >= " " && sequence != "\x7F";
    const bool isC1 = sequence >= "\xC2\x80" && sequence <= "\xC2\x9F";
    const bool endsLine = sequence == "\xE2\x80\xA8" || sequence == "\xE2\x80\xA9";
    return !sequence.empty() && !isC1 && !endsLine;
}

} // namespace

std::string escapedLogLine(std::string_view line)
{
    std::string shown;
    shown.reserve(line.size());
    while (!line.empty()) {
        const std::string_view sequence = text::firstSequence(line);
        const std::string_view bytes = line.substr(0, std::max<std::size_t>(sequence.size(), 1));
        if (isShownAsIs(sequence)) {
            shown += bytes;
        } else {
            for (const char byte : bytes) {
                fmt::format_to(std::back_inserter(shown), "\\x{:02x}",
                               static_cast<unsigned char>(byte));
            }
        }
        line.remove_prefix(bytes.size());
    }
    return shown;
}

} // namespace korvane
