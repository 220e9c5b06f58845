#include "desktop/DesktopAlert.h"
#include "desktop/DesktopFileViewer.h"
#include "desktop/DesktopNoteViewer.h"
#include "support/FakeNotificationCenter.h"
#include "support/FakeSessionBus.h"
#include "support/ManualQueues.h"
#include "support/RecordingLog.h"
#include "support/TemporaryFolder.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace korvane {
namespace {

using namespace std::chrono_literals;

/** A machine on which zenity and xdg-open are programs that write down their last argument. */
class DesktopProgramsTest : public testing::Test {
protected:
    ~DesktopProgramsTest() override { ::setenv("PATH", path.c_str(), 1); }

    void install(const std::string& program, int status) const
    {
        const auto file = folder.write(
            program, fmt::format("#!/bin/sh\nfor last; do :; done\n"
                                 "printf '%s\\n' \"$last$XDG_ACTIVATION_TOKEN\" >>{0}\n"
                                 "tr '\\0' ' ' </proc/$$/environ >{0}-in\n"
                                 "exit {1}\n",
                                 (folder.path() / "asked").string(), status));
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
        ::setenv("PATH", (folder.path().string() + ":/bin:/usr/bin").c_str(), 1);
    }

    std::string asked() const { return folder.read("asked"); }

    /** What the service manager knows of the session is told. */
    void tellEnvironment(const std::vector<std::string>& variables = {"DISPLAY=:7", "HOME=/x"})
    {
        const BusCall call = bus.answer(std::vector<BusValue>{variables});
        EXPECT_EQ(*busArgument<std::string>(call.arguments, 1), "Environment");
    }

    OpeningHandler outcome()
    {
        return [this](const auto& shown) { outcomes.push_back(shown ? "shown" : shown.error()); };
    }

    const std::string path = std::getenv("PATH");
    TemporaryFolder folder;
    ManualQueue queue;
    FakeNotificationCenter notifications;
    FakeSessionBus bus;
    RecordingLog log;
    SessionEnvironment environment{bus, {"HOME=/root", "DISPLAY="}};
    DesktopAlert alert{queue, notifications, environment};
    DesktopOpener opener{environment, queue};
    DesktopFileViewer viewer{bus, opener, log};
    DesktopNoteViewer notes{bus, opener};
    std::vector<std::string> outcomes;
};

TEST_F(DesktopProgramsTest, OpensOneDialogAfterTheOtherAndAtMostFour)
{
    install("zenity", 0);
    for (int i = 0; i < 20; ++i) alert.warn("Couldn't", std::to_string(i));
    std::string expected;
    for (int i = 0; i < 4; ++i) {
        tellEnvironment();
        EXPECT_EQ(queue.watched(), 1U);
        queue.waitForDescriptor();
        expected += fmt::format("--text=Couldn't\n\n{}\n", i);
    }
    EXPECT_EQ(queue.watched(), 0U);
    EXPECT_EQ(asked(), expected);
    EXPECT_EQ(folder.read("asked-in"), "HOME=/root DISPLAY=:7 ");
    EXPECT_THAT(notifications.requests, testing::IsEmpty());
}

TEST_F(DesktopProgramsTest, ShowsAStrangersTextInADialogAsItIs)
{
    install("zenity", 0);
    alert.warn("Couldn't", "<b>$(rm) \\n \x1b[1m" + std::string(1 << 20, 'x'));
    tellEnvironment({"WAYLAND_DISPLAY=w"});
    queue.waitForDescriptor();
    EXPECT_THAT(asked(), testing::StartsWith("--text=Couldn't\n\n<b>$(rm) \\\\n  [1mxxx"));
    EXPECT_THAT(asked(), testing::EndsWith("x…\n"));
    EXPECT_LT(asked().size(), 1100U);
}

TEST_F(DesktopProgramsTest, ShowsAWarningThatNoDialogCanShowAsANotification)
{
    install("zenity", 1);
    alert.warn("Couldn't", "closed by the user");
    tellEnvironment();
    queue.moveTo(queue.now() + 1s);
    queue.waitForDescriptor();
    EXPECT_THAT(notifications.requests, testing::IsEmpty());
    alert.warn("Couldn't", "a display that has ended");
    tellEnvironment();
    queue.waitForDescriptor();
    EXPECT_THAT(notifications.requests, testing::SizeIs(1));
    alert.warn("Couldn't", "no display");
    tellEnvironment({"DISPLAY="});
    EXPECT_THAT(notifications.requests, testing::SizeIs(2));
    ::setenv("PATH", "/nowhere", 1);
    alert.warn("Couldn't", "no zenity");
    tellEnvironment();
    ASSERT_THAT(notifications.requests, testing::SizeIs(3));
    EXPECT_EQ(notifications.requests[0].identifier, notifications.requests[1].identifier);
    EXPECT_EQ(notifications.latest().content.body, "no zenity");
    EXPECT_TRUE(notifications.latest().content.stays);
}

TEST_F(DesktopProgramsTest, TriesOneWayAfterTheOtherToShowAFile)
{
    install("xdg-open", 0);
    const BusReply nobody = failure(BusError{"org.freedesktop.DBus.Error.ServiceUnknown", "none"});
    const auto reveal = [this](const BusReply& reply) {
        viewer.reveal("/saved/-a/Brief.pdf", ":click", outcome());
        return bus.answer(reply);
    };
    const BusCall call = reveal(std::vector<BusValue>{});
    EXPECT_EQ(
        call.arguments,
        (std::vector<BusValue>{std::vector<std::string>{"file:///saved/-a/Brief.pdf"}, ":click"}));
    for (int i = 0; i < 20; ++i) {
        reveal(nobody);
        tellEnvironment();
    }
    EXPECT_EQ(queue.watched(), 20U) << "none is dropped";
    while (queue.watched() > 0) queue.waitForDescriptor();
    EXPECT_EQ(outcomes, std::vector<std::string>(21, "shown"));
    EXPECT_THAT(asked(), testing::StartsWith("/saved/-a:click\n"));
    install("xdg-open", 3);
    reveal(nobody);
    tellEnvironment();
    queue.waitForDescriptor();
    EXPECT_EQ(outcomes.back(), "xdg-open failed with status 3");
    ::setenv("PATH", "/nowhere", 1);
    reveal(nobody);
    bus.answer(nobody);
    EXPECT_EQ(outcomes.back(), "xdg-open can't be started: No such file or directory");
    EXPECT_EQ(log.lines().back(), "FileViewer: no file manager answers: none");
}

TEST_F(DesktopProgramsTest, ShowsANoteWhereItWasMade)
{
    install("xdg-open", 0);
    notes.show("/notes/Tax.html", "", outcome());
    tellEnvironment();
    queue.waitForDescriptor();
    EXPECT_EQ(asked(), "/notes/Tax.html\n");
    for (const bool isThere : {true, false}) {
        notes.show("note://gnote/1", "", outcome());
        const BusCall call = bus.answer(std::vector<BusValue>{isThere});
        EXPECT_EQ(call.member, "DisplayNote");
        EXPECT_EQ(call.arguments, std::vector<BusValue>{std::string("note://gnote/1")});
    }
    EXPECT_THAT(outcomes,
                testing::ElementsAre("shown", "shown", "Gnote does not have the note any more"));
}

/** The user reads on in a file manager when the agent has ended. */
TEST_F(DesktopProgramsTest, LeavesTheProgramsRunningAtTheEnd)
{
    const std::string gate = folder.path() / "gate", end = folder.path() / "end";
    for (const std::string& fifo : {gate, end}) ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const auto script = folder.write(
        "xdg-open", fmt::format("#!/bin/sh\nread line <{}\necho $line >{}\n", gate, end));
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    ::setenv("PATH", (folder.path().string() + ":/bin:/usr/bin").c_str(), 1);
    {
        DesktopOpener ending(environment, queue);
        ending.open("/saved", "", outcome());
        tellEnvironment();
    }
    std::ofstream(gate) << "still here\n";
    std::ifstream answer(end);
    std::string line;
    std::getline(answer, line);
    EXPECT_EQ(line, "still here");
    EXPECT_THAT(outcomes, testing::IsEmpty());
}

} // namespace
} // namespace korvane
