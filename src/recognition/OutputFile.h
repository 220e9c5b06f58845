#pragma once

#include "base/FileDescriptor.h"

#include <cstdint>

/** Files that workers write, each from where it stands. */
namespace korvane {

/** Empties the file for the next try; errno tells why it could not be. */
bool truncateAndRewind(const FileDescriptor& file);

/** Whether the file is as long as a worker, which may be hostile, says that it has made it. */
bool hasLength(const FileDescriptor& file, std::uint64_t length);

} // namespace korvane
