#pragma once

#include "base/Log.h"

#include <array>
#include <memory>
#include <string>
#include <string_view>

namespace korvane {

/** Where the lines of a system log come from. */
struct LogIdentity {
    /** The program's name, by which `journalctl -t` finds its lines. */
    std::string program = "korvane-agent";
    std::string subsystem;
    std::string category;
};

/**
 * The system log behind a descriptor that stays the caller's, usually standard error. Where it
 * leads to the journal, each line becomes a journal entry with its priority, and with the subsystem
 * and the category as fields.
 *
 * Anywhere else the escaped line is written, and nothing else. A line stays whole however many
 * threads write. A reader that stops reading blocks a writer for a second, once: what cannot be
 * written is dropped. Expects SIGPIPE to be ignored. Writing never fails and never throws.
 */
std::unique_ptr<Log> makeSystemLog(LogIdentity identity, int descriptor);

/**
 * Whether the descriptor is the stream that the service manager connected to the journal:
 * `journalStream` is the value of JOURNAL_STREAM (systemd.exec(5)), the device and inode of that
 * stream. A child whose standard error was redirected inherits the variable but not the stream.
 */
bool isJournalStream(int descriptor, std::string_view journalStream);

/** The fields of a line's journal entry, each as NAME=value (systemd.journal-fields(7)). */
std::array<std::string, 5> journalFields(const LogIdentity& identity, LogLevel level,
                                         std::string_view line);

/**
 * The line as it may be shown. Names in a line come from clients and documents, so every byte that
 * could end the line or steer a terminal is written as \xHH: control characters (C0, DEL and C1),
 * the line and paragraph separators U+2028 and U+2029, and bytes that are not well-formed UTF-8.
 */
std::string escapedLogLine(std::string_view line);

} // namespace korvane
