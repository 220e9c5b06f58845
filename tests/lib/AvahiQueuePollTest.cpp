#include "lib/avahi/AvahiQueuePoll.h"

#include "base/FileDescriptor.h"
#include "event/SocketFileWatch.h"
#include "event/SystemQueues.h"
#include "support/RecordingLog.h"
#include "support/TemporaryFolder.h"

#include <avahi-common/timeval.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <memory>

namespace korvane {
namespace {

using std::chrono::milliseconds;

class AvahiQueuePollTest : public testing::Test {
protected:
    AvahiQueuePollTest()
    {
        int ends[2]{-1, -1};
        EXPECT_EQ(::pipe2(ends, O_NONBLOCK | O_CLOEXEC), 0);
        reader = FileDescriptor(ends[0]);
        writer = FileDescriptor(ends[1]);
        queue->sync([this] { poll = std::make_unique<AvahiQueuePoll>(*queue); });
    }
    ~AvahiQueuePollTest() override
    {
        queue->sync([this] { poll.reset(); });
    }

    void waitForDone() { ASSERT_EQ(done.get_future().wait_for(std::chrono::seconds(10)), ready); }

    static constexpr auto ready = std::future_status::ready;

    RecordingLog log;
    SystemQueues queues{log};
    std::shared_ptr<SerialQueue> queue = queues.makeSerial("test");
    std::unique_ptr<AvahiQueuePoll> poll;
    FileDescriptor reader;
    FileDescriptor writer;
    std::function<void(AvahiWatch*, AvahiWatchEvent)> onEvent;
    std::function<void(AvahiTimeout*)> onTimeout;
    std::promise<void> done;
};

void handleEvent(AvahiWatch* watch, int /*descriptor*/, AvahiWatchEvent event, void* test)
{
    (*static_cast<std::function<void(AvahiWatch*, AvahiWatchEvent)>*>(test))(watch, event);
}

void handleTimeout(AvahiTimeout* timeout, void* test)
{
    (*static_cast<std::function<void(AvahiTimeout*)>*>(test))(timeout);
}

TEST_F(AvahiQueuePollTest, CallsForAsLongAsThereIsSomethingToReadAndThenForTheEnd)
{
    const auto* api = poll->api();
    int calls = 0;
    bool sawEnd = false;
    onEvent = [&](AvahiWatch* watch, AvahiWatchEvent event) {
        EXPECT_EQ(event, AVAHI_WATCH_IN);
        EXPECT_EQ(api->watch_get_events(watch), AVAHI_WATCH_IN);
        char byte = 0;
        ++calls;
        if (::read(reader.get(), &byte, 1) > 0) return;
        sawEnd = true;
        api->watch_free(watch);
        done.set_value();
    };
    ASSERT_EQ(::write(writer.get(), "abc", 3), 3);
    queue->sync([&] { api->watch_new(api, reader.get(), AVAHI_WATCH_IN, handleEvent, &onEvent); });
    queue->sync([&] { writer = FileDescriptor(); });
    waitForDone();
    EXPECT_EQ(calls, 4);
    EXPECT_TRUE(sawEnd);
}

TEST_F(AvahiQueuePollTest, KeepsTimesThatAreSetAgainAndDropsThoseThatAreTakenBack)
{
    const auto* api = poll->api();
    int dropped = 0;
    int calls = 0;
    std::function<void(AvahiTimeout*)> onDropped = [&](AvahiTimeout*) { ++dropped; };
    onTimeout = [&](AvahiTimeout* timeout) {
        timeval past{};
        if (++calls < 3) {
            api->timeout_update(timeout, &past);
            return;
        }
        api->timeout_free(timeout);
        done.set_value();
    };
    const auto start = std::chrono::steady_clock::now();
    queue->sync([&] {
        timeval soon{};
        avahi_elapse_time(&soon, 50, 0);
        auto* disabled = api->timeout_new(api, nullptr, handleTimeout, &onDropped);
        api->timeout_update(disabled, &soon);
        api->timeout_update(disabled, nullptr);
        api->timeout_new(api, &soon, handleTimeout, &onTimeout);
    });
    waitForDone();
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(45));
    EXPECT_EQ(calls, 3);
    EXPECT_EQ(dropped, 0);
}

TEST_F(AvahiQueuePollTest, NoticesABusWhoseFolderHasYetToBeMade)
{
    const TemporaryFolder folder;
    const auto socket = folder.path() / "run" / "dbus" / "socket";
    std::unique_ptr<SocketFileWatch> watch;
    queue->sync([&] {
        watch = std::make_unique<SocketFileWatch>(socket, *queue, [&] {
            watch.reset();
            done.set_value();
        });
    });
    std::filesystem::create_directory(folder.path() / "run");
    queue->sync([] {});
    std::filesystem::create_directory(folder.path() / "run" / "dbus");
    std::ofstream(socket).put('x');
    waitForDone();
}

} // namespace
} // namespace korvane
