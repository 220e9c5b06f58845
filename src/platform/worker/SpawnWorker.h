#pragma once

#include "platform/base/FileDescriptor.h"
#include "platform/base/Result.h"
#include "platform/base/SystemError.h"

#include <sys/types.h>

#include <filesystem>

namespace korvane {

/** A process of ours that has just begun. */
struct SpawnedWorker {
    pid_t id = 0;
    /** Readable once the process has ended (pidfd_open(2)). */
    FileDescriptor process;
    /** Our end of the socket pair; non-blocking. */
    FileDescriptor socket;
};

/**
 * Starts `program` with nothing of ours but a socket on descriptor 3: standard input and output are
 * /dev/null, because what libraries say must not mix with our log lines; signals are as a new
 * process has them; and it has a process group of its own, so that Ctrl-C in a terminal reaches the
 * agent alone, which then ends its workers.
 */
Result<SpawnedWorker, SystemError> spawnWorker(const std::filesystem::path& program);

} // namespace korvane
