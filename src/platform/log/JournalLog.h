#pragma once

#include "platform/log/Log.h"
#include "platform/log/SystemLog.h"

#include <array>
#include <string>

namespace korvane {

/** Hands each line to the systemd journal as one entry. */
class JournalLog final : public Log {
public:
    explicit JournalLog(LogIdentity identity) : identity_(std::move(identity)) {}

    void write(LogLevel level, std::string_view line) override;

private:
    LogIdentity identity_;
};

/** The fields of a line's journal entry, each as NAME=value (systemd.journal-fields(7)). */
std::array<std::string, 5> journalFields(const LogIdentity& identity, LogLevel level,
                                         std::string_view line);

} // namespace korvane
