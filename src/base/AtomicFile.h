#pragma once

#include "base/FileDescriptor.h"
#include "base/Result.h"
#include "base/SystemError.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

namespace korvane {

/**
 * A file that appears whole or not at all: it is written under a hidden temporary name in the
 * target's folder and takes the target's name, replacing what had it, once it is safe on the disk.
 * A reader sees the old content or the new, also after a power cut. Its permissions are those that
 * the umask leaves of rw-rw-rw-. One that was not published is removed with this object.
 */
class AtomicFile {
public:
    /** What becomes of what has the target's name already. */
    enum class Present { replaced, kept };

    static Result<AtomicFile, SystemError> create(const std::filesystem::path& target);

    AtomicFile(AtomicFile&&) = default;
    AtomicFile& operator=(AtomicFile&&) = delete;
    ~AtomicFile();

    /** Where to write. */
    int descriptor() const { return file_.get(); }

    /** Gives the file its name; to be called once. On failure the target is as it was; EEXIST when
     *  it was to be kept. */
    Result<void, SystemError> publish(Present present = Present::replaced);

private:
    AtomicFile(FileDescriptor folder, FileDescriptor file, std::string temporaryName,
               std::string targetName);

    FileDescriptor folder_;
    FileDescriptor file_;
    std::string temporaryName_;
    std::string targetName_;
};

/** Writes a file whole or not at all, as above. */
Result<void, SystemError> writeFileAtomically(const std::filesystem::path& target,
                                              std::span<const std::uint8_t> bytes);

/** The same for its user's eyes only, whatever the umask. */
Result<void, SystemError> writePrivateFileAtomically(const std::filesystem::path& target,
                                                     std::span<const std::uint8_t> bytes);

/** Writes a file for a name that nothing has yet: EEXIST when something does, and it stays as it
 * is. */
Result<void, SystemError> writeNewFileAtomically(const std::filesystem::path& target,
                                                 std::span<const std::uint8_t> bytes);

/** The same for the content of a regular file, which shares its blocks where the disk can. */
Result<void, SystemError> copyToNewFileAtomically(const std::filesystem::path& source,
                                                  const std::filesystem::path& target);

} // namespace korvane
