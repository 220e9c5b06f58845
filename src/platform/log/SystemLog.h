#pragma once

#include "platform/log/Log.h"

#include <memory>
#include <string>
#include <string_view>

namespace korvane {

/** Who speaks in the system log. */
struct LogIdentity {
    /** The program's name, by which `journalctl -t` finds its lines. */
    std::string program = "korvane-agent";
    std::string subsystem;
    std::string category;
};

/**
 * The system log behind a descriptor, usually standard error. Where it leads to the journal, each
 * line becomes a journal entry with its priority and the subsystem and category as fields of their
 * own; anywhere else the bare line is written. Writing never fails and never throws.
 */
std::unique_ptr<Log> makeSystemLog(LogIdentity identity, int descriptor);

/**
 * Whether the descriptor is the stream that the service manager connected to the journal:
 * `journalStream` is the value of JOURNAL_STREAM (systemd.exec(5)), the device and inode of that
 * stream. A child whose standard error was redirected inherits the variable but not the stream.
 */
bool isJournalStream(int descriptor, std::string_view journalStream);

} // namespace korvane
