#include "base/FileDescriptor.h"
#include "event/SystemQueues.h"
#include "lib/systemd/BlockingBus.h"
#include "lib/systemd/BusAddress.h"
#include "lib/systemd/BusNameWatch.h"
#include "lib/systemd/SystemSessionBus.h"
#include "support/RecordingLog.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <spawn.h>
#include <sys/wait.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <future>
#include <optional>
#include <string>
#include <vector>

namespace korvane {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::SizeIs;
using State = SessionBus::State;

/** A session bus of the test's own, and ourselves on it. */
class SessionBusTest : public testing::Test {
protected:
    ~SessionBusTest() override
    {
        queue->sync([this] { bus.reset(); });
        stopDaemon();
    }

    void startDaemon()
    {
        const std::string option = "--address=" + address;
        const std::array<const char*, 5> arguments = {"dbus-daemon", "--session", "--nofork",
                                                      option.c_str(), nullptr};
        ASSERT_EQ(::posix_spawnp(&daemon.emplace(), "dbus-daemon", nullptr, nullptr,
                                 const_cast<char* const*>(arguments.data()), environ),
                  0);
    }

    void stopDaemon()
    {
        if (!daemon) return;
        ::kill(*daemon, SIGKILL);
        ::waitpid(*daemon, nullptr, 0);
        daemon.reset();
    }

    /** Runs `ask` on the queue, which is given a promise, and waits for what is promised. */
    template <typename T>
    T await(const std::function<void(std::shared_ptr<std::promise<T>>)>& ask)
    {
        const auto promise = std::make_shared<std::promise<T>>();
        auto future = promise->get_future();
        queue->sync([&] { ask(promise); });
        if (future.wait_for(20s) == std::future_status::ready) return future.get();
        ADD_FAILURE() << "timed out";
        return {};
    }

    void waitFor(State state)
    {
        std::unique_ptr<Subscription> watch;
        await<bool>([&](const auto& promise) {
            if (bus->state() == state) return promise->set_value(true);
            watch = bus->watchState([=](State next) {
                if (next == state) promise->set_value(true);
            });
        });
        queue->sync([&] { watch.reset(); });
    }

    static BusCall busCall(const std::string& member, std::vector<BusValue> arguments = {})
    {
        return {.destination = "org.freedesktop.DBus",
                .path = "/org/freedesktop/DBus",
                .interface = "org.freedesktop.DBus",
                .member = member,
                .arguments = std::move(arguments)};
    }

    BusReply call(const BusCall& call)
    {
        return await<std::optional<BusReply>>([&](const auto& promise) {
                   bus->call(call, [=](const BusReply& reply) { promise->set_value(reply); });
               })
            .value_or(failure(BusError{}));
    }

    RecordingLog log;
    SystemQueues queues{log};
    std::shared_ptr<SerialQueue> queue = queues.makeSerial("session.bus");
    TemporaryFolder folder;
    std::string address = "unix:path=" + (folder.path() / "bus").string();
    std::optional<pid_t> daemon;
    /** The first of its addresses leads nowhere. */
    std::unique_ptr<SystemSessionBus> bus =
        std::make_unique<SystemSessionBus>("unix:abstract=korvane-no-bus;" + address, *queue);
};

TEST_F(SessionBusTest, JoinsABusThatComesLaterAndThatComesBack)
{
    queue->sync([this] { bus->start(); });
    waitFor(State::absent);
    EXPECT_EQ(call(busCall("GetId")).error().message, "No such file or directory");
    startDaemon();
    waitFor(State::connected);
    std::vector<std::string> owners;
    std::optional<BusNameWatch> watch;
    await<bool>([&](const auto& promise) {
        watch.emplace(*bus, "org.freedesktop.DBus", [&owners, promise](const std::string& owner) {
            owners.push_back(owner);
            if (owners.size() == 1) promise->set_value(true);
        });
    });
    stopDaemon();
    waitFor(State::absent);
    startDaemon();
    waitFor(State::connected);
    EXPECT_TRUE(call(busCall("GetId")));
    queue->sync([&] { watch.reset(); });
    EXPECT_THAT(owners, testing::ElementsAre("org.freedesktop.DBus", "", "org.freedesktop.DBus"));
}

TEST_F(SessionBusTest, CarriesArgumentsErrorsAndSignals)
{
    startDaemon();
    queue->sync([this] { bus->start(); });
    waitFor(State::connected);
    const auto names = call(busCall("ListNames"));
    ASSERT_TRUE(names);
    EXPECT_THAT(*busArgument<std::vector<std::string>>(*names, 0),
                Contains("org.freedesktop.DBus"));
    const auto credentials =
        call(busCall("GetConnectionCredentials", {std::string("org.freedesktop.DBus")}));
    ASSERT_TRUE(credentials);
    EXPECT_THAT(*busArgument<BusDictionary>(*credentials, 0),
                Contains(testing::Field(&BusEntry::key, "ProcessID")));
    EXPECT_EQ(call(busCall("GetNameOwner", {std::string("org.example.Nobody")})).error().name,
              "org.freedesktop.DBus.Error.NameHasNoOwner");
    EXPECT_FALSE(call(busCall("GetNameOwner", {std::string("not UTF-8: \xFF")})));

    std::unique_ptr<Subscription> arrivals;
    const auto signal = await<BusSignal>([&](const auto& promise) {
        arrivals = bus->subscribe({.member = "NameOwnerChanged", .firstArgument = "org.example.Me"},
                                  [=](const BusSignal& arrived) { promise->set_value(arrived); });
        bus->call(busCall("RequestName", {std::string("org.example.Me"), 4U}),
                  [](const BusReply& reply) {
                      EXPECT_EQ(*busArgument<std::uint32_t>(reply.value(), 0), 1U);
                  });
    });
    queue->sync([&] { arrivals.reset(); });
    EXPECT_EQ(signal.sender, "org.freedesktop.DBus");
    EXPECT_THAT(signal.arguments, SizeIs(3));
}

TEST_F(SessionBusTest, OffersAnObjectOnEachConnectionForAsLongAsItIsWanted)
{
    const BusDictionary row = {{"Name", std::string("Letter")}, {"Number", std::uint64_t{1} << 40}};
    std::unique_ptr<Subscription> offer;
    queue->sync([&] {
        bus->start();
        offer = bus->offer(
            {.name = "org.example.Desk",
             .path = "/org/example/Desk",
             .interface = "org.example.Desk",
             .properties = {{.name = "Time",
                             .signature = "x",
                             .get = [] { return BusValue(std::int64_t{-1}); }}},
             .methods = {{.name = "Rows",
                          .parameters = {{"max", "u"}},
                          .results = {{"rows", "aa{sv}"}},
                          .call = [&row](const std::vector<BusValue>& arguments) -> BusReply {
                              const std::uint32_t max = *busArgument<std::uint32_t>(arguments, 0);
                              if (max > 9) return failure(BusError{"org.example.TooMany", "no"});
                              return {{std::vector<BusDictionary>(max, row)}};
                          }}},
             .signals = {"Changed"}});
    });
    const auto ask = [this](const std::string& interface, const std::string& member,
                            std::vector<BusValue> arguments) {
        return call({.destination = "org.example.Desk",
                     .path = "/org/example/Desk",
                     .interface = interface,
                     .member = member,
                     .arguments = std::move(arguments)});
    };
    for (int connection = 0; connection < 2; ++connection) {
        startDaemon();
        waitFor(State::connected);
        const auto time = ask("org.freedesktop.DBus.Properties", "Get",
                              {std::string("org.example.Desk"), std::string("Time")});
        EXPECT_EQ(*busArgument<std::int64_t>(time.value(), 0), -1);
        const auto rows = ask("org.example.Desk", "Rows", {2U});
        EXPECT_THAT(*busArgument<std::vector<BusDictionary>>(rows.value(), 0),
                    testing::ElementsAre(row, row));
        EXPECT_EQ(ask("org.example.Desk", "Rows", {10U}).error().name, "org.example.TooMany");
        EXPECT_FALSE(ask("org.example.Desk", "Rows", {std::string("two")}));
        std::unique_ptr<Subscription> arrivals;
        const auto signal = await<BusSignal>([&](const auto& promise) {
            arrivals = bus->subscribe({.interface = "org.example.Desk"},
                                      [=](const BusSignal& sent) { promise->set_value(sent); });
            bus->emit({.path = "/any", .interface = "org.example.Desk", .member = "Changed"});
        });
        EXPECT_EQ(signal.member, "Changed");
        queue->sync([&] { arrivals.reset(); });
        if (connection > 0) break;
        stopDaemon();
        waitFor(State::absent);
    }
    queue->sync([&] { offer.reset(); });
    EXPECT_FALSE(ask("org.example.Desk", "Rows", {2U}));
}

TEST_F(SessionBusTest, FailsACallThatIsNotAnsweredInTime)
{
    startDaemon();
    queue->sync([this] { bus->start(); });
    waitFor(State::connected);
    ::kill(*daemon, SIGSTOP);
    BusCall unanswered = busCall("GetId");
    unanswered.timeout = 50ms;
    EXPECT_EQ(call(unanswered).error().name, "org.freedesktop.DBus.Error.NoReply");
}

TEST_F(SessionBusTest, LetsAThreadWaitForAReplyUntilTheEnd)
{
    startDaemon();
    queue->sync([this] { bus->start(); });
    waitFor(State::connected);
    BlockingSessionBus blocking(*bus, *queue);
    EXPECT_TRUE(blocking.call(busCall("GetId")));
    EXPECT_EQ(
        blocking.call(busCall("GetNameOwner", {std::string("org.example.Nobody")})).error().name,
        "org.freedesktop.DBus.Error.NameHasNoOwner");
    EXPECT_TRUE(blocking.pause(1ms));

    ::kill(*daemon, SIGSTOP);
    BusCall unanswered = busCall("GetId");
    unanswered.timeout = 1h;
    auto waiting = std::async(std::launch::async, [&] { return blocking.call(unanswered); });
    blocking.stop();
    EXPECT_EQ(waiting.get().error().message, "agent shutting down");
    EXPECT_FALSE(blocking.call(unanswered));
    EXPECT_FALSE(blocking.pause(1h));
    queue->sync([this] { bus.reset(); });
}

TEST(BusAddress, IsReadAsTheBusDefinesIt)
{
    const std::pair<const char*, const char*> sockets[] = {
        {"unix:guid=0,path=/run/my%20bus", "/run/my bus"},
        {"tcp:host=h,path=/no;;unix:path=/run/user/1%202/bus,x=y;unix:path=/b",
         "/run/user/1 2/bus"},
        {"unix:path=/odd%2", "/odd%2"},
        {"unix:abstract=/tmp/x", ""},
        {"unix:xpath=/x;unixexec:path=/x", ""},
        {"unix:", ""}};
    for (const auto& [addresses, socket] : sockets) {
        EXPECT_EQ(busSocket(addresses), socket);
    }
}

TEST(BusAddress, OfTheSessionIsInTheEnvironmentOrInTheRuntimeFolder)
{
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"unix:abstract=x", "/run/user/1", "unix:abstract=x"},
        {"", "/run/user/1 2", "unix:path=/run/user/1%202/bus"},
        {"", "relative", ""}};
    for (const auto& [address, runtimeFolder, expected] : cases) {
        ::setenv("DBUS_SESSION_BUS_ADDRESS", address, 1);
        ::setenv("XDG_RUNTIME_DIR", runtimeFolder, 1);
        EXPECT_EQ(sessionBusAddress(), expected);
    }
}

} // namespace
} // namespace korvane
