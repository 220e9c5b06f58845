#pragma once

#include <chrono>
#include <filesystem>
#include <string>

namespace korvane {

/** What it takes, besides its document, to finish an accepted job. */
struct JobTicket {
    /** As the client gave it. */
    std::string jobName;
    /** When the job was accepted; whole seconds are kept. */
    std::chrono::system_clock::time_point accepted;
    /** Where it is to be saved; empty while the user has chosen no folder. */
    std::filesystem::path saveDirectory;
    /** The name chosen for it there; another is taken where something has it already. */
    std::string fileName;

    friend bool operator==(const JobTicket&, const JobTicket&) = default;
};

} // namespace korvane
