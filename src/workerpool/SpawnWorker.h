#pragma once

#include "base/FileDescriptor.h"
#include "base/Result.h"
#include "base/SystemError.h"
#include "event/ChildProcess.h"

#include <filesystem>

namespace korvane {

/** A worker that has just begun. */
struct SpawnedWorker {
    StartedProcess process;
    /** Our end of the socket pair; non-blocking. */
    FileDescriptor socket;
};

/** Starts `program` with the other end of a socket pair on descriptor 3, few of our environment
 *  variables, and a process group of its own: Ctrl-C in a terminal reaches the agent alone, which
 *  then ends its workers. */
Result<SpawnedWorker, SystemError> spawnWorker(const std::filesystem::path& program);

} // namespace korvane
