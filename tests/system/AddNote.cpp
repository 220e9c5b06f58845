#include "base/User.h"
#include "desktop/DesktopNotes.h"
#include "desktop/NotesBridge.h"
#include "desktop/NotesScriptRunner.h"
#include "event/SystemQueues.h"
#include "lib/systemd/BusAddress.h"
#include "lib/systemd/SystemLog.h"
#include "lib/systemd/SystemSessionBus.h"

#include <unistd.h>

#include <iostream>
#include <iterator>
#include <memory>

/** Adds one note as the agent does: AddNote TITLE FOLDER PDF, the text on standard input. */
int main(int count, char** arguments)
{
    using namespace korvane;
    if (count != 4) return 2;
    const std::string text(std::istreambuf_iterator<char>(std::cin), {});
    const auto log = makeSystemLog({}, STDERR_FILENO);
    SystemQueues queues(*log);
    SystemSessionBus bus(sessionBusAddress(), queues.main());
    BlockingSessionBus blockingBus(bus, queues.main());
    int status = 1;
    const Task addNote = [&] {
        DesktopNotes notes(currentUserFolders(), blockingBus, *log);
        const auto added = NotesBridge::addNote(arguments[1], text, arguments[2], arguments[3],
                                                notesScriptRunner(notes));
        status = added ? 0 : 1;
        if (!added) std::cerr << added.error().description() << '\n';
        queues.stopMain();
    };
    // The bus is there or not.
    std::unique_ptr<Subscription> state;
    state = bus.watchState([&](SessionBus::State) {
        state.reset();
        queues.utility().async(addNote);
    });
    queues.main().async([&] { bus.start(); });
    queues.runMain();
    return status;
}
