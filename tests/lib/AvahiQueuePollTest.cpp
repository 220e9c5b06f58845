#include "lib/avahi/AvahiQueuePoll.h"

#include "base/FileDescriptor.h"
#include "event/SocketFileWatch.h"
#include "support/ManualQueues.h"
#include "support/TemporaryFolder.h"

#include <avahi-common/timeval.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

namespace korvane {
namespace {

using std::chrono::seconds;

class AvahiQueuePollTest : public testing::Test {
protected:
    static void handleEvent(AvahiWatch* watch, int /*descriptor*/, AvahiWatchEvent, void* handler)
    {
        (*static_cast<std::function<void(AvahiWatch*)>*>(handler))(watch);
    }

    static void handleTimeout(AvahiTimeout* timeout, void* handler)
    {
        (*static_cast<std::function<void(AvahiTimeout*)>*>(handler))(timeout);
    }

    ManualQueues queues;
    std::shared_ptr<ManualQueue> queue = queues.queue("test");
    AvahiQueuePoll poll{*queue};
    const AvahiPoll* api = poll.api();
    int calls = 0;
};

TEST_F(AvahiQueuePollTest, CallsForAsLongAsThereIsSomethingToReadAndThenForTheEnd)
{
    int ends[2]{};
    ASSERT_EQ(::pipe(ends), 0);
    const FileDescriptor reader(ends[0]);
    ASSERT_EQ(::write(ends[1], "abc", 3), 3);
    ::close(ends[1]);
    std::function<void(AvahiWatch*)> onEvent = [&](AvahiWatch* watch) {
        EXPECT_EQ(api->watch_get_events(watch), AVAHI_WATCH_IN);
        char byte = 0;
        ++calls;
        if (::read(reader.get(), &byte, 1) == 0) api->watch_free(watch);
    };
    api->watch_new(api, reader.get(), AVAHI_WATCH_IN, handleEvent, &onEvent);
    for (queues.run(); queue->watched() > 0; queues.run()) queue->waitForDescriptor();
    EXPECT_EQ(calls, 4);
}

TEST_F(AvahiQueuePollTest, KeepsTimesThatAreSetAgainAndDropsThoseThatAreTakenBack)
{
    std::function<void(AvahiTimeout*)> onDropped = [&](AvahiTimeout*) { FAIL(); };
    std::function<void(AvahiTimeout*)> onTimeout = [&](AvahiTimeout* timeout) {
        const timeval past{};
        if (++calls < 3) return api->timeout_update(timeout, &past);
        api->timeout_free(timeout);
    };
    timeval soon{};
    avahi_elapse_time(&soon, 20'000, 0);
    AvahiTimeout* const disabled = api->timeout_new(api, nullptr, handleTimeout, &onDropped);
    api->timeout_update(disabled, &soon);
    api->timeout_update(disabled, nullptr);
    api->timeout_new(api, &soon, handleTimeout, &onTimeout);
    queues.run();
    EXPECT_EQ(calls, 0);
    queues.advance(seconds(20));
    EXPECT_EQ(calls, 3);
}

TEST(SocketFileWatch, NoticesABusWhoseFolderHasYetToBeMade)
{
    ManualQueue queue;
    const TemporaryFolder folder;
    const auto socket = folder.path() / "run" / "dbus" / "socket";
    bool isFound = false;
    const SocketFileWatch watch(socket, queue, [&] { isFound = true; });
    for (const char* made : {"run", "run/dbus"}) {
        std::filesystem::create_directory(folder.path() / made);
        queue.waitForDescriptor();
    }
    EXPECT_FALSE(isFound);
    folder.write("run/dbus/socket", "x");
    queue.waitForDescriptor();
    queue.moveTo(queue.now() + seconds(1));
    queue.runWaiting();
    EXPECT_TRUE(isFound);
}

} // namespace
} // namespace korvane
