#pragma once

#include "platform/base/Result.h"
#include "platform/base/SystemError.h"

#include <cstdint>
#include <filesystem>
#include <span>

namespace korvane {

/**
 * Writes a file whole or not at all: a hidden temporary file in the same folder, safe on the disk,
 * takes the target's name, replacing what had it. A reader sees the old content or the new, also
 * after a power cut. On failure the target is as it was and the temporary file is gone.
 * The new file's permissions are those that the umask leaves of rw-rw-rw-.
 */
Result<void, SystemError> writeFileAtomically(const std::filesystem::path& target,
                                              std::span<const std::uint8_t> bytes);

/** The same for a name that nothing has yet: EEXIST when something does, and it stays as it is. */
Result<void, SystemError> writeNewFileAtomically(const std::filesystem::path& target,
                                                 std::span<const std::uint8_t> bytes);

/** The same for the content of a regular file, which shares its blocks where the disk can. */
Result<void, SystemError> copyToNewFileAtomically(const std::filesystem::path& source,
                                                  const std::filesystem::path& target);

} // namespace korvane
