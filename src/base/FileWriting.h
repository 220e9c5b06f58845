#pragma once

#include "base/Result.h"
#include "base/SystemError.h"

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>

namespace korvane {

/** Has the disk take what a file holds. File systems that cannot promise that are taken as they
 *  are: the file is there. */
Result<void, SystemError> synchronizeFile(int file);

/** The same for the names in a folder, opened in any way. What fails here can only lose a new name
 *  in a power cut. One that may not be read is taken as it is. */
Result<void, SystemError> synchronizeFolder(int folder);

/** Appends the first `length` bytes of a file to another where that stands, sharing blocks where
 *  the file systems can. EIO when the source is shorter. */
Result<void, SystemError> copyBytes(int source, std::uint64_t length, int target);

/** Gives a file of the folder another name, replacing what has that. */
Result<void, SystemError> renameInFolder(int folder, const std::string& from,
                                         const std::string& to);

/** The same for a name that nothing has yet: EEXIST when something does. */
Result<void, SystemError> renameToNew(int folder, const std::string& from, const std::string& to);

/** A new name for a file that is not to be seen yet. Clients that synchronize a folder leave files
 *  alone whose names begin like this. */
std::string makeTemporaryName();

/** The same, made of a UUID. */
std::string temporaryName(std::string_view uuid);

/** Tells other processes, for as long as the file is open, that it is still needed. */
void lockTemporary(int file);

/** Removes the files of a folder that have temporary names, but for those that are locked and those
 *  that are `needed`. */
void removeAbandonedFiles(const std::filesystem::path& folder,
                          const std::set<std::string>& needed = {});

/** Whether `makeTemporaryName` may have made the name. */
bool isTemporaryName(std::string_view name);

} // namespace korvane
