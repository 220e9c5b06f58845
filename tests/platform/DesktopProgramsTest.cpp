#include "platform/alert/DesktopAlert.h"
#include "platform/fileviewer/DesktopFileViewer.h"
#include "platform/fileviewer/FileURI.h"
#include "platform/queue/SystemQueues.h"
#include "support/FakeNotificationCenter.h"
#include "support/FakeSessionBus.h"
#include "support/RecordingLog.h"
#include "support/TemporaryFolder.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <thread>

namespace korvane {
namespace {

using namespace std::chrono_literals;

/** A machine on which zenity and xdg-open are programs that write down what they are asked. */
class DesktopProgramsTest : public testing::Test {
protected:
    ~DesktopProgramsTest() override
    {
        queue->sync([this] {
            alert.reset();
            viewer.reset();
        });
        ::setenv("PATH", path.c_str(), 1);
    }

    void install(const std::string& program, const std::string& ending) const
    {
        const auto file = folder.write(
            program,
            fmt::format("#!/bin/sh\nfor last; do :; done\nprintf '%s\\n' \"$last\" >>{}\n{}\n",
                        (folder.path() / "asked").string(), ending));
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
        ::setenv("PATH", (folder.path().string() + ":/bin:/usr/bin").c_str(), 1);
    }

    void warn(const std::string& information)
    {
        queue->sync([&] { alert->warn("Couldn't", information); });
    }

    std::string asked() const { return folder.read("asked"); }

    static bool waitUntil(const std::function<bool()>& condition)
    {
        for (int i = 0; i < 1000; ++i) {
            if (condition()) return true;
            std::this_thread::sleep_for(10ms);
        }
        return false;
    }

    std::size_t notified()
    {
        std::size_t count = 0;
        queue->sync([&] { count = notifications.requests.size(); });
        return count;
    }

    const std::string path = std::getenv("PATH");
    TemporaryFolder folder;
    RecordingLog log;
    SystemQueues queues{log};
    std::shared_ptr<SerialQueue> queue = queues.makeSerial("desktop");
    FakeNotificationCenter notifications;
    FakeSessionBus bus;
    std::optional<DesktopAlert> alert{std::in_place, *queue, notifications, true};
    std::optional<DesktopFileViewer> viewer{std::in_place, bus, *queue};
};

TEST_F(DesktopProgramsTest, OpensOneDialogAfterTheOtherAndFewInAll)
{
    install("zenity", "sleep 0.1");
    for (int i = 0; i < 20; ++i) warn(std::to_string(i));
    const auto lines = [&] { return std::ranges::count(asked(), '\n'); };
    EXPECT_TRUE(waitUntil([&] { return lines() == 4 * 3; }));
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(lines(), 4 * 3);
    EXPECT_EQ(notified(), 0U);
}

TEST_F(DesktopProgramsTest, ShowsAStrangersTextInADialogAsItIs)
{
    install("zenity", "sleep 0.1");
    warn("<b>$(rm) \\n \x1b[1m" + std::string(1 << 20, 'x'));
    EXPECT_TRUE(waitUntil([&] { return asked().ends_with("…\n"); }));
    EXPECT_THAT(asked(), testing::StartsWith("--text=Couldn't\n\n<b>$(rm) \\\\n  [1mxxx"));
    EXPECT_LT(asked().size(), 1100U);
}

TEST_F(DesktopProgramsTest, LeavesAWarningThatNoDialogCanShowAsANotification)
{
    install("zenity", "exit 1");
    warn("no display");
    EXPECT_TRUE(waitUntil([&] { return notified() == 1; }));
    ::setenv("PATH", "/nowhere", 1);
    warn("no zenity");
    EXPECT_EQ(notified(), 2U);
    EXPECT_EQ(notifications.requests[0].identifier, notifications.requests[1].identifier);
    EXPECT_TRUE(notifications.latest().content.stays);
}

TEST_F(DesktopProgramsTest, OpensTheFolderWhereNoFileManagerAnswers)
{
    install("xdg-open", "");
    queue->sync([&] {
        viewer->reveal("/saved/-a/Brief.pdf");
        bus.answer(std::vector<BusValue>{});
        viewer->reveal("/saved/-a/Brief.pdf");
        bus.answer(failure(BusError{.name = "org.freedesktop.DBus.Error.ServiceUnknown"}));
    });
    EXPECT_TRUE(waitUntil([&] { return asked() == "/saved/-a\n"; }));
}

TEST(FileURI, NamesAnyFile)
{
    EXPECT_EQ(fileURI("/a-b_c.d~e/Ä %?#&+\n\xff"),
              "file:///a-b_c.d~e/%C3%84%20%25%3F%23%26%2B%0A%FF");
}

} // namespace
} // namespace korvane
