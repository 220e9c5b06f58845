#pragma once

#include "platform/notes/NotesApplication.h"
#include "platform/script/ScriptRunner.h"

#include <memory>
#include <string>

namespace korvane {

/**
 * Runs programs that tell the application "Notes" to make folders, notes and attachments. It knows
 * just the part of AppleScript that such programs need: handlers, `tell`, `if .. then`, `set`,
 * `return`, `make new`, `exists`, `POSIX file .. as alias`, `id of`, texts and names.
 */
class NotesScriptRunner final : public ScriptRunner {
public:
    /** `open` is asked each time a script runs that tells the application something. */
    explicit NotesScriptRunner(OpenNotesApplication open);

    std::unique_ptr<Script> makeScript(std::string source) const override;

private:
    OpenNotesApplication open_;
};

} // namespace korvane
