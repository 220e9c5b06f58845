#pragma once

#include "base/Lifetime.h"
#include "desktop/DesktopOpener.h"
#include "desktop/NoteViewer.h"
#include "lib/systemd/SessionBus.h"

namespace korvane {

/** Shows the notes that DesktopNotes has made: those of Gnote in Gnote, files in the program that
 *  the user has for them. Used on the bus's queue; what is referred to outlives it. */
class DesktopNoteViewer final : public NoteViewer {
public:
    DesktopNoteViewer(SessionBus& bus, DesktopOpener& opener) : bus_(bus), opener_(opener) {}

    void show(const std::string& id, const std::string& activationToken,
              OpeningHandler handler) override;

private:
    SessionBus& bus_;
    DesktopOpener& opener_;
    Lifetime lifetime_;
};

} // namespace korvane
