#include "agent/AgentAppDelegate.h"

#include "AgentFixture.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <utility>

namespace korvane {
namespace {

class AgentAppDelegateTest : public AgentFixture {
protected:
    AgentAppDelegateTest()
        : delegate(std::make_shared<AgentAppDelegate>(
              "0.1.0", AgentEnvironment{store, hostNames, environment, jobs, desktop},
              [this](Task handler) {
                  signal = std::move(handler);
                  return nullptr;
              }))
    {
    }

    Task signal;
    std::shared_ptr<AgentAppDelegate> delegate;
};

TEST_F(AgentAppDelegateTest, LaunchesWithoutSettingsAndWaits)
{
    delegate->applicationDidFinishLaunching();
    queues.run();
    const std::vector<std::string> lines = log.lines();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0], fmt::format("KorvaneAgent: starting (pid={}, build 0.1.0)", ::getpid()));
    EXPECT_EQ(lines[1], "Notifications: granted=true");
    EXPECT_THAT(lines[2], testing::StartsWith("PrinterService: created new persistent UUID "));
    EXPECT_EQ(lines[3], "PrinterService: not configured, stopping");
    EXPECT_EQ(home.read("Korvane/agent-version"), "0.1.0");
    EXPECT_EQ(home.read("Korvane/printer-uuid").size(), 36U);
    EXPECT_TRUE(network.listeners.empty());
}

TEST_F(AgentAppDelegateTest, ReloadsOnceForEverySignalWhileItLives)
{
    delegate->applicationDidFinishLaunching();
    choose({});
    for (int i = 0; i < 2; ++i) signal();
    bus.emit({.sender = ":1.2", .member = "Posted"});
    EXPECT_TRUE(network.listeners.empty()) << "the reload waits for the main queue";
    queues.run();
    EXPECT_EQ(log.count("KorvaneAgent: settings changed, reloading"), 3);
    EXPECT_EQ(network.listeners.size(), 1U);
    delegate.reset();
    signal();
    queues.run();
    EXPECT_EQ(log.count("KorvaneAgent: settings changed, reloading"), 3);
}

TEST_F(AgentAppDelegateTest, ReloadsForSettingsThatChangedWhileNoSignalWasDelivered)
{
    const auto reloads = [this] {
        while (!bus.calls.empty()) bus.answer({});
        queues.run();
        return log.count("KorvaneAgent: settings changed, reloading");
    };
    delegate->applicationDidFinishLaunching();
    queues.run();
    choose({});
    EXPECT_EQ(reloads(), 1) << "chosen before the bus knew of the subscription";
    bus.setState(SessionBus::State::absent);
    choose({.name = "Other"});
    bus.setState(SessionBus::State::connected);
    EXPECT_EQ(reloads(), 2);
    bus.setState(SessionBus::State::connected);
    EXPECT_EQ(reloads(), 2) << "the settings are those it has";
}

TEST_F(AgentAppDelegateTest, MakesANoteOfAJobThatTheUserChooses)
{
    choose({.notes = true});
    delegate->applicationDidFinishLaunching();
    queues.run();
    listenerIsReady();
    ask(network.latest(), printJob("Letter", "%PDF letter"));
    notifications.choose("KV_ACTION_ADD_TO_NOTES");
    queues.run();
    EXPECT_THAT(notes, testing::ElementsAre(testing::StartsWith("Letter||Paper|Letter 2025")));
    notifications.choose("KV_ACTION_OPEN_NOTE");
    EXPECT_THAT(screen.shown, testing::ElementsAre("note"));
}

} // namespace
} // namespace korvane
