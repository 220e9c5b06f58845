#include "platform/log/JournalLog.h"

#include "platform/log/LogLine.h"

// The place in the source that the library would add is always this file.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

#include <exception>

namespace korvane {

std::array<std::string, 5> journalFields(const LogIdentity& identity, LogLevel level,
                                         std::string_view line)
{
    return {
        "MESSAGE=" + escapedLogLine(line),
        level == LogLevel::error ? "PRIORITY=3" : "PRIORITY=6",
        "SYSLOG_IDENTIFIER=" + identity.program,
        "KORVANE_SUBSYSTEM=" + identity.subsystem,
        "KORVANE_CATEGORY=" + identity.category,
    };
}

void JournalLog::write(LogLevel level, std::string_view line)
{
    try {
        std::array<std::string, 5> fields = journalFields(identity_, level, line);
        std::array<iovec, 5> entry{};
        for (std::size_t index = 0; index < fields.size(); ++index) {
            entry.at(index) = {fields.at(index).data(), fields.at(index).size()};
        }
        ::sd_journal_sendv(entry.data(), static_cast<int>(entry.size()));
    } catch (const std::exception&) {
        return; // no memory for the line: go on without it
    }
}

} // namespace korvane
