#pragma once

#include "platform/base/Result.h"
#include "platform/bus/BlockingBus.h"
#include "platform/notes/NotesApplication.h"

#include <memory>
#include <string>
#include <vector>

namespace korvane {

/**
 * Gnote's remote control, `org.gnome.Gnote.RemoteControl` on the session bus: a method here for
 * each method there that we have a use for. An answer of another form than the method has is a
 * failure.
 */
class GnoteRemote {
public:
    /** The remote control of a Gnote that runs, or that the bus could start; nothing where there
     *  is none. */
    static std::unique_ptr<GnoteRemote> open(std::unique_ptr<BlockingBus> bus);

    /** Makes a note and gives its URI; empty when another note has the title. */
    Result<std::string, NotesFailure> createNamedNote(const std::string& title);

    /** False when there is no such note; true also for XML that Gnote could not read. */
    Result<bool, NotesFailure> setNoteContentsXml(const std::string& uri, const std::string& xml);
    Result<std::string, NotesFailure> getNoteContentsXml(const std::string& uri);

    Result<bool, NotesFailure> addTagToNote(const std::string& uri, const std::string& tag);
    Result<std::vector<std::string>, NotesFailure> getAllNotesWithTag(const std::string& tag);
    Result<bool, NotesFailure> deleteNote(const std::string& uri);

private:
    explicit GnoteRemote(std::unique_ptr<BlockingBus> bus);

    bool isPresent();
    /** Waits until the remote control answers, which is a moment after Gnote has started. */
    bool isAnswering();
    BusReply ask(const std::string& member, std::vector<std::string> arguments);
    template <typename T>
    Result<T, NotesFailure> call(const std::string& member, std::vector<std::string> arguments);

    std::unique_ptr<BlockingBus> bus_;
};

} // namespace korvane
