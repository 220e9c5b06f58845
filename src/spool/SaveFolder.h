#pragma once

#include "base/DocumentFile.h"
#include "base/FileDescriptor.h"
#include "base/Result.h"
#include "base/SystemError.h"

#include <filesystem>
#include <string>

namespace korvane {

/** A folder of the user's, held open, into which files come whole: first under a temporary name. */
class SaveFolder {
public:
    static Result<SaveFolder, SystemError> open(const std::filesystem::path& path);

    /** Puts an open file there under a temporary name: another name of the same file. EXDEV and
     *  others where that is not possible. */
    Result<void, SystemError> link(int file, const std::string& name);

    /** Puts a copy there, which is synced. */
    Result<void, SystemError> copy(const DocumentFile& document, const std::string& name);

    /** Puts a file there in the first way or, where that is not possible, the second. */
    Result<void, SystemError> add(const DocumentFile& document, const std::string& name);

    /** Whether something has the name. */
    Result<bool, SystemError> has(const std::string& name) const;

    /** Opens a file of the folder for writing. */
    Result<FileDescriptor, SystemError> openFile(const std::string& name) const;

    /**
     * Gives a file of the folder its name for good or, where something has that, the name with
     * " 2", " 3" and so on before its extension; cut where the file system takes no name so long.
     * Says which it is.
     */
    Result<std::string, SystemError> place(const std::string& temporaryName,
                                           const std::string& fileName);

    void remove(const std::string& name);

    /** The name that `place` tries first. */
    std::string firstName(const std::string& fileName) const;

    int descriptor() const { return folder_.get(); }
    std::filesystem::path pathOf(const std::string& name) const { return path_ / name; }

private:
    SaveFolder(std::filesystem::path path, FileDescriptor folder)
        : path_(std::move(path)), folder_(std::move(folder))
    {
    }

    std::filesystem::path path_;
    FileDescriptor folder_;
};

/** Nobody has so many documents of one name and second; something else is wrong then. */
inline constexpr int maxNameAttempts = 10000;

/** The name as it is taken at the given attempt, from 1 to `maxNameAttempts`: from 2 on with that
 * number before the extension; at most `limit` bytes. */
std::string numberedName(const std::string& fileName, int attempt, std::size_t limit);

/** Bytes that a name may have in the folder. */
std::size_t maxNameLength(int folder);

} // namespace korvane
