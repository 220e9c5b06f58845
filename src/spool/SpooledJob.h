#pragma once

#include "base/DocumentFile.h"
#include "base/Result.h"
#include "base/SystemError.h"
#include "spool/JobRecord.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <variant>

namespace korvane {

class SaveFolder;
class SpoolFolders;

/**
 * One accepted job. It stays in the spool until it has been published; destroying this object only
 * forgets about it until the next start. Used by one thread at a time; all calls wait for the disk,
 * and `publish`, `publishAsReceived` for the save folder's.
 */
class SpooledJob {
public:
    /** Where the job's file is. */
    struct Spooled {};
    /** Its PDF is in the save folder under a temporary name, or has got its name there. */
    struct Publishing {};
    struct Unsaved {
        std::string name;
    };
    using Place = std::variant<Spooled, Publishing, Unsaved>;

    SpooledJob(std::shared_ptr<const SpoolFolders> folders, std::string id, JobRecord record,
               Place place);

    const JobTicket& ticket() const { return record_.ticket; }

    /** Opens the document. */
    Result<DocumentFile, SystemError> open() const;

    /** Whether it is in `unsaved/`. */
    bool isSetAside() const { return std::holds_alternative<Unsaved>(place_); }

    /**
     * Puts a PDF made of the document, a file of `Spool::makeFile` that was written, into the save
     * folder, whole and synced, under the ticket's name or, where something has that, with " 2",
     * " 3" and so on before ".pdf"; shortened where the folder's file system takes no name so long.
     * The job then leaves the spool. Says where the file is. On failure nothing is in the folder,
     * and the job is as it was.
     */
    Result<std::filesystem::path, SystemError> publish(const DocumentFile& pdf);

    /** The same with the document itself, which is moved where both folders are on one file system.
     */
    Result<std::filesystem::path, SystemError> publishAsReceived();

    /** Moves the job to `unsaved/`, where the user can open its document, and says where that is.
     *  One whose publishing was interrupted stays where it is. */
    Result<std::filesystem::path, SystemError> setAside();

    /** Takes it back from there. ENOENT when the user has removed the document: there is no job any
     *  more. */
    Result<void, SystemError> restore();

    /** Removes the job and its document, wherever they are. What an interrupted `publish` left in
     *  the save folder is `Spool::removeStrays`'s. */
    Result<void, SystemError> discard();

private:
    using Add = std::function<Result<void, SystemError>(SaveFolder&, const std::string&)>;

    std::filesystem::path path() const;
    Result<std::filesystem::path, SystemError> publishWith(const Add& add);
    Result<std::filesystem::path, SystemError> finishPublishing(SaveFolder& folder);
    Result<void, SystemError> cutRecord(int file) const;
    Result<void, SystemError> move(Place place);
    void remove();
    void removeRecords();

    const std::shared_ptr<const SpoolFolders> folders_;
    const std::string id_;
    JobRecord record_;
    Place place_;
};

} // namespace korvane
