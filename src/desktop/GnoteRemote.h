#pragma once

#include "base/Result.h"
#include "desktop/NotesApplication.h"
#include "lib/systemd/BlockingBus.h"

#include <memory>
#include <string>
#include <vector>

namespace korvane {

/** Gnote's remote control, `org.gnome.Gnote.RemoteControl` on the session bus. */
class GnoteRemote {
public:
    /** The remote control of a Gnote that runs, or that the bus could start; nothing where there
     *  is none. The bus outlives it. */
    static std::unique_ptr<GnoteRemote> open(BlockingBus& bus);

    /** A call of the method with texts. */
    static BusCall makeCall(const std::string& member, std::vector<std::string> arguments);

    /** Calls a method with texts. T is the type of what it gives: bool or std::string; an answer of
     *  another type is a failure. */
    template <typename T>
    Result<T, NotesFailure> call(const std::string& member, std::vector<std::string> arguments);

private:
    explicit GnoteRemote(BlockingBus& bus) : bus_(bus) {}

    bool isPresent();
    /** Waits until the remote control answers, which is a moment after Gnote has started; about
     *  20 s at most. */
    bool isAnswering();

    BlockingBus& bus_;
};

} // namespace korvane
