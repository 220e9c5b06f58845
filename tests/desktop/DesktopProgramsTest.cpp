#include "desktop/DesktopAlert.h"
#include "desktop/DesktopFileViewer.h"
#include "support/FakeNotificationCenter.h"
#include "support/FakeSessionBus.h"
#include "support/ManualQueues.h"
#include "support/TemporaryFolder.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>

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
            program, fmt::format("#!/bin/sh\nfor last; do :; done\nprintf '%s\\n' \"$last\" >>{}\n"
                                 "exit {}\n",
                                 (folder.path() / "asked").string(), status));
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
        ::setenv("PATH", (folder.path().string() + ":/bin:/usr/bin").c_str(), 1);
    }

    std::string asked() const { return folder.read("asked"); }

    const std::string path = std::getenv("PATH");
    TemporaryFolder folder;
    ManualQueue queue;
    FakeNotificationCenter notifications;
    FakeSessionBus bus;
    DesktopAlert alert{queue, notifications, true};
    DesktopFileViewer viewer{bus, queue};
};

TEST_F(DesktopProgramsTest, OpensOneDialogAfterTheOtherAndAtMostFour)
{
    install("zenity", 0);
    for (int i = 0; i < 20; ++i) alert.warn("Couldn't", std::to_string(i));
    std::string expected;
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(queue.watched(), 1U);
        queue.waitForDescriptor();
        expected += fmt::format("--text=Couldn't\n\n{}\n", i);
    }
    EXPECT_EQ(queue.watched(), 0U);
    EXPECT_EQ(asked(), expected);
    EXPECT_THAT(notifications.requests, testing::IsEmpty());
}

TEST_F(DesktopProgramsTest, ShowsAStrangersTextInADialogAsItIs)
{
    install("zenity", 0);
    alert.warn("Couldn't", "<b>$(rm) \\n \x1b[1m" + std::string(1 << 20, 'x'));
    queue.waitForDescriptor();
    EXPECT_THAT(asked(), testing::StartsWith("--text=Couldn't\n\n<b>$(rm) \\\\n  [1mxxx"));
    EXPECT_THAT(asked(), testing::EndsWith("x…\n"));
    EXPECT_LT(asked().size(), 1100U);
}

TEST_F(DesktopProgramsTest, ShowsAWarningThatNoDialogCanShowAsANotification)
{
    install("zenity", 1);
    alert.warn("Couldn't", "closed by the user");
    queue.moveTo(queue.now() + 1s);
    queue.waitForDescriptor();
    EXPECT_THAT(notifications.requests, testing::IsEmpty());
    alert.warn("Couldn't", "no display");
    queue.waitForDescriptor();
    EXPECT_THAT(notifications.requests, testing::SizeIs(1));
    ::setenv("PATH", "/nowhere", 1);
    alert.warn("Couldn't", "no zenity");
    ASSERT_THAT(notifications.requests, testing::SizeIs(2));
    EXPECT_EQ(notifications.requests[0].identifier, notifications.requests[1].identifier);
    EXPECT_EQ(notifications.latest().content.body, "no zenity");
    EXPECT_TRUE(notifications.latest().content.stays);
}

TEST_F(DesktopProgramsTest, OpensTheFolderWhereNoFileManagerAnswers)
{
    install("xdg-open", 0);
    viewer.reveal("/saved/-a/Brief.pdf");
    bus.answer(std::vector<BusValue>{});
    EXPECT_EQ(queue.watched(), 0U);
    const BusReply nobody = failure(BusError{.name = "org.freedesktop.DBus.Error.ServiceUnknown"});
    for (int i = 0; i < 20; ++i) {
        viewer.reveal("/saved/-a/Brief.pdf");
        const BusCall call = bus.answer(nobody);
        EXPECT_EQ(*busArgument<std::vector<std::string>>(call.arguments, 0),
                  std::vector<std::string>{"file:///saved/-a/Brief.pdf"});
    }
    EXPECT_EQ(queue.watched(), 8U) << "openers that hang are not joined by more";
    while (queue.watched() > 0) queue.waitForDescriptor();
    EXPECT_THAT(asked(), testing::StartsWith("/saved/-a\n"));
    viewer.reveal("/saved/-a/Brief.pdf");
    bus.answer(nobody);
    EXPECT_EQ(queue.watched(), 1U);
}

} // namespace
} // namespace korvane
