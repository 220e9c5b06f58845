#include "workerpool/SpawnWorker.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

namespace {

/** What the libraries look for: fonts and their cache lie below the home folder, and the user's
 * language decides which of several fonts stands in for a missing one. No path to programs, no bus,
 * no display, and nothing that would change how the libraries behave. */
constexpr std::array<std::string_view, 8> passedOn{
    "HOME=",     "LANG=",           "LC_ALL=",          "LC_CTYPE=",
    "LANGUAGE=", "XDG_CACHE_HOME=", "XDG_CONFIG_HOME=", "XDG_DATA_HOME="};

/** Tesseract's parallel regions ask for a fixed number of threads, whatever is said elsewhere. On
 * cores that recognize other pages they would only be in each other's way. */
constexpr std::string_view oneThread = "OMP_THREAD_LIMIT=1";

std::vector<std::string> makeEnvironment()
{
    std::vector<std::string> environment{std::string(oneThread)};
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view variable(*entry);
        if (std::ranges::any_of(passedOn, [&](auto name) { return variable.starts_with(name); }))
            environment.emplace_back(variable);
    }
    return environment;
}

} // namespace

Result<SpawnedWorker, SystemError> spawnWorker(const std::filesystem::path& program)
{
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return failure(SystemError::last());
    FileDescriptor ours(ends[0]);
    const FileDescriptor theirs(ends[1]);
    if (::fcntl(ours.get(), F_SETFL, O_NONBLOCK) != 0) return failure(SystemError::last());
    return startProcess({.arguments = {program},
                         .environment = makeEnvironment(),
                         .descriptor = theirs.get(),
                         .hasOwnGroup = true})
        .map([&](StartedProcess&& process) {
            return SpawnedWorker{.process = std::move(process), .socket = std::move(ours)};
        });
}

} // namespace korvane
