#pragma once

#include "base/Data.h"
#include "base/FileDescriptor.h"
#include "base/Result.h"
#include "base/SystemError.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace korvane {

/** Opens a regular file for reading. A folder is EISDIR, and a pipe or a device EINVAL: none of
 *  them is waited for. */
Result<FileDescriptor, SystemError> openRegularFile(const std::filesystem::path& path);

/**
 * The whole content of a regular file of at most `limit` bytes; a larger one is EFBIG. What else
 * is no regular file fails as above.
 */
Result<Data, SystemError> readFile(const std::filesystem::path& path, std::size_t limit);

/** `size` bytes of an open file from `offset` on; EIO when it ends before. */
Result<Data, SystemError> readAt(int file, std::uint64_t offset, std::size_t size);

/** The names of what is in a folder, as far as it can be read, in no order. */
std::vector<std::string> entryNames(const std::filesystem::path& folder);

/** Whether anything is at the path; links are followed, so a dangling one is nothing. */
bool fileExists(const std::filesystem::path& path);

/** Whether there is a folder at the path; links are followed. */
bool isDirectory(const std::filesystem::path& path);

/**
 * Makes a folder and its missing parents, for the user's eyes only, as the XDG Base Directory
 * rules ask. Where that fails, using the folder will fail too and say why.
 */
void createPrivateFolders(const std::filesystem::path& path);

/** False for a path holding a NUL byte: the system would take the part before it for the path. */
bool canNameFile(const std::filesystem::path& path);

} // namespace korvane
