#include "desktop/DesktopNotificationCenter.h"

#include "support/FakeSessionBus.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace korvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* serverName = ":1.7";

/** A server on the bus, played by the test. */
class DesktopNotificationCenterTest : public testing::Test {
protected:
    DesktopNotificationCenterTest()
    {
        center.setCategories({{.identifier = "JOB", .actions = {{"OPEN", "Open it"}}}});
        center.setResponseHandler([this](const NotificationResponse& response) {
            outcomes.push_back(response.identifier + " " + response.action +
                               response.activationToken);
        });
        bus.answer(std::vector<BusValue>{std::string(serverName)});
    }

    void add(const std::string& identifier)
    {
        center.add({.identifier = identifier, .content = {.title = "T", .category = "JOB"}},
                   [this, identifier](const auto& added) {
                       outcomes.push_back(identifier +
                                          (added ? " added" : ": " + added.error().description()));
                   });
    }

    void tellCapabilities(const std::vector<std::string>& capabilities = {"actions"})
    {
        EXPECT_EQ(bus.answer(std::vector<BusValue>{capabilities}).member, "GetCapabilities");
    }

    /** Answers a Notify, and gives the ID that it was to replace. */
    std::uint32_t show(std::uint32_t id)
    {
        const BusCall call = bus.answer(std::vector<BusValue>{id});
        EXPECT_EQ(call.member, "Notify");
        return *busArgument<std::uint32_t>(call.arguments, 1);
    }

    void choose(std::uint32_t id, const std::string& key, const std::string& sender = serverName)
    {
        bus.emit({.sender = sender, .member = "ActionInvoked", .arguments = {id, key}});
    }

    void setOwner(const std::string& owner)
    {
        bus.emit({.sender = "org.freedesktop.DBus",
                  .member = "NameOwnerChanged",
                  .arguments = {std::string(), std::string(), owner}});
    }

    /** Answers a CloseNotification, and gives its ID. */
    std::uint32_t closed()
    {
        const BusCall call = bus.answer(std::vector<BusValue>{});
        EXPECT_EQ(call.member, "CloseNotification");
        return *busArgument<std::uint32_t>(call.arguments, 0);
    }

    static BusError noReply()
    {
        return {.name = "org.freedesktop.DBus.Error.NoReply", .message = "timed out"};
    }

    FakeSessionBus bus;
    DesktopNotificationCenter center{bus, "Korvane", "org.korvane.Agent"};
    std::vector<std::string> outcomes;
};

TEST_F(DesktopNotificationCenterTest, UsesOnlyTheCapabilitiesOfEachServer)
{
    const struct {
        std::vector<std::string> capabilities;
        std::string body;
        std::vector<std::string> actions;
    } servers[] = {{{}, "<b> & \"x\"", {}},
                   {{"body-markup"}, "&lt;b&gt; &amp; \"x\"", {}},
                   {{"actions"}, "<b> & \"x\"", {"default", "Open", "OPEN", "Open it"}}};
    for (const auto& server : servers) {
        setOwner(":1." + server.body);
        center.add({.identifier = "A", .content = {.body = "<b> & \"x\"", .category = "JOB"}},
                   [](const auto&) {});
        tellCapabilities(server.capabilities);
        const BusCall notify = bus.answer(std::vector<BusValue>{1U});
        EXPECT_EQ(*busArgument<std::string>(notify.arguments, 4), server.body);
        EXPECT_EQ(*busArgument<std::vector<std::string>>(notify.arguments, 5), server.actions);
        setOwner("");
    }
}

TEST_F(DesktopNotificationCenterTest, ReplacesARequestWhoseIDIsNotYetKnownByTheLatestOnly)
{
    add("PORT");
    tellCapabilities();
    add("PORT");
    add("PORT");
    EXPECT_EQ(show(5), 0U);
    EXPECT_EQ(show(5), 5U);
    EXPECT_THAT(bus.calls, IsEmpty());
    EXPECT_THAT(outcomes, ElementsAre("PORT added", "PORT added", "PORT added"));
}

TEST_F(DesktopNotificationCenterTest, AcceptsResponsesToItsOwnNotificationsFromItsServerOnly)
{
    add("A");
    tellCapabilities();
    show(5);
    outcomes.clear();
    choose(6, "OPEN");
    choose(5, "OPEN", ":1.66");
    choose(5, "never offered");
    bus.emit({.sender = serverName, .member = "ActionInvoked", .arguments = {5, true}});
    bus.emit({.sender = serverName, .member = "ActionInvoked"});
    EXPECT_THAT(outcomes, IsEmpty());
    for (const auto& [id, sender] : {std::pair(5U, serverName), {5U, ":1.66"}, {6U, serverName}})
        bus.emit({.sender = sender,
                  .member = "ActivationToken",
                  .arguments = {id, std::string(id == 5 && sender == serverName ? " now" : " x")}});
    choose(5, "OPEN");
    EXPECT_EQ(closed(), 5U) << "it cannot be chosen again";
    choose(5, "OPEN");
    EXPECT_THAT(outcomes, ElementsAre("A OPEN"));
}

TEST_F(DesktopNotificationCenterTest,
       AcceptsResponsesToWhatExpiredButNotToWhatIsDismissedOrOfAnEarlierServer)
{
    constexpr std::uint32_t expired = 1, dismissed = 2;
    add("A");
    tellCapabilities();
    show(1);
    for (const char* identifier : {"B", "C"}) add(identifier);
    show(2), show(3);
    outcomes.clear();
    for (const auto& [id, reason] : {std::pair(1U, expired), {2U, dismissed}})
        bus.emit({.sender = serverName, .member = "NotificationClosed", .arguments = {id, reason}});
    choose(1, "OPEN"), choose(2, "OPEN");
    EXPECT_THAT(outcomes, ElementsAre("A OPEN"));
    for (const std::string owner : {"", serverName}) setOwner(owner);
    choose(3, "OPEN");
    EXPECT_THAT(outcomes, ElementsAre("A OPEN"));
}

TEST_F(DesktopNotificationCenterTest, ShowsTheLatest32WhenThereIsAServer)
{
    setOwner("");
    for (int i = 0; i < 100; ++i) add("A" + std::to_string(i));
    add("A99"), add("PORT");
    center.remove("PORT");
    ASSERT_THAT(bus.calls, SizeIs(1));
    EXPECT_THAT(outcomes, SizeIs(69 + 2));
    EXPECT_EQ(outcomes[69], "A68: Too many notifications are waiting");
    EXPECT_EQ(outcomes.back(), "PORT added");
    bus.answer(failure(BusError{"org.freedesktop.DBus.Error.ServiceUnknown", "nobody"}));
    EXPECT_THAT(bus.calls, IsEmpty());
    outcomes.clear();
    setOwner(":1.8");
    tellCapabilities();
    // The server ends before it has shown the first.
    setOwner("");
    bus.answer(failure(noReply()));
    EXPECT_THAT(outcomes, IsEmpty());
    for (std::uint32_t id = 1; id < 31; ++id) show(id);
    setOwner(":1.9");
    tellCapabilities();
    show(31);
    EXPECT_THAT(bus.calls, IsEmpty());
    EXPECT_THAT(outcomes, SizeIs(31));
    EXPECT_EQ(outcomes.back(), "A69 added");
}

TEST_F(DesktopNotificationCenterTest, AsksAServerThatDoesNotAnswerTenTimes)
{
    add("A");
    for (int i = 0; i < 10; ++i) {
        EXPECT_THAT(outcomes, IsEmpty());
        EXPECT_EQ(bus.answer(failure(noReply())).timeout, std::chrono::seconds(2));
    }
    EXPECT_THAT(outcomes, ElementsAre("A: timed out"));
    EXPECT_THAT(bus.calls, IsEmpty());
    add("B");
    tellCapabilities();
    bus.answer(failure(noReply()));
    EXPECT_EQ(outcomes.back(), "B: timed out") << "it may be shown all the same";
}

TEST_F(DesktopNotificationCenterTest, ClosesWhatIsRemovedOrOneOfMoreThan256)
{
    add("PORT");
    tellCapabilities();
    add("PORT");
    center.remove("PORT");
    show(5);
    EXPECT_EQ(closed(), 5U) << "removed before it was shown";
    for (std::uint32_t id = 10; id < 10 + 256; ++id) {
        add(std::to_string(id));
        show(id);
    }
    center.remove("11");
    EXPECT_EQ(closed(), 11U);
    center.remove("11");
    for (std::uint32_t id = 300; id < 302; ++id) {
        add(std::to_string(id));
        show(id);
    }
    EXPECT_EQ(closed(), 10U) << "nothing would know what its actions are for";
    EXPECT_THAT(bus.calls, IsEmpty());
}

TEST_F(DesktopNotificationCenterTest, WaitsForABusThatIsConnectingAndDropsTheIDsOfTheLast)
{
    add("A");
    tellCapabilities();
    show(5);
    bus.setState(SessionBus::State::absent);
    bus.setState(SessionBus::State::connecting);
    center.requestAuthorization([this](bool granted, const auto& /*error*/) {
        outcomes.push_back(granted ? "granted" : "refused");
    });
    EXPECT_THAT(bus.calls, IsEmpty());
    bus.setState(SessionBus::State::connected);
    EXPECT_EQ(bus.calls.size(), 2U);
    bus.answer(std::vector<BusValue>{std::string(serverName)});
    tellCapabilities();
    EXPECT_EQ(outcomes.back(), "granted");
    choose(5, "OPEN");
    EXPECT_EQ(outcomes.back(), "granted");
    add("A");
    EXPECT_EQ(show(1), 0U) << "the ID of the last server is not replaced";
}

} // namespace
} // namespace korvane
