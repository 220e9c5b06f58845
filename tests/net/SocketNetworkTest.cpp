#include "net/SocketNetwork.h"

#include "base/FileDescriptor.h"
#include "base/Sanitizers.h"
#include "event/SystemQueues.h"
#include "support/RecordingLog.h"

#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <array>
#include <condition_variable>
#include <mutex>

namespace korvane {
namespace {

using testing::ElementsAre;
using Handler = std::function<void(const std::shared_ptr<TCPConnection>&)>;

std::string nameOf(const TCPListener::State& state)
{
    const auto* failed = std::get_if<TCPListener::Failed>(&state);
    const auto* waiting = std::get_if<TCPListener::Waiting>(&state);
    if (failed) return "failed: " + failed->error.description();
    if (waiting) return "waiting: " + waiting->error.description();
    return std::holds_alternative<TCPListener::Ready>(state) ? "ready" : "cancelled";
}

sockaddr* address(sockaddr_in& internet)
{
    return reinterpret_cast<sockaddr*>(&internet);
}

class SocketNetworkTest : public testing::Test {
protected:
    SocketNetworkTest()
    {
        FileDescriptor probe(::socket(AF_INET, SOCK_STREAM, 0));
        socklen_t length = sizeof server;
        ::bind(probe.get(), address(server), length);
        ::getsockname(probe.get(), address(server), &length);
        probe = FileDescriptor();
        listener = listen();
        EXPECT_THAT(waitFor(1), ElementsAre("ready"));
    }

    ~SocketNetworkTest() override
    {
        queue->sync([this] {
            connections.clear();
            listener->cancel();
            listener.reset();
        });
        queue->sync([] {}); // the last states are still on their way
    }

    std::shared_ptr<TCPListener> listen()
    {
        const auto made =
            network.makeListener(*TCPPort::make(ntohs(server.sin_port)), *queue).value();
        made->start([this](const auto& state) { tell(nameOf(state)); },
                    [this](std::shared_ptr<TCPConnection> connection) {
                        connections.push_back(connection);
                        if (onConnection) onConnection(connection);
                    });
        return made;
    }

    void serve(const Handler& handler)
    {
        queue->sync([&] { onConnection = handler; });
    }

    /** A blocking client, over IPv4. */
    FileDescriptor connect()
    {
        FileDescriptor client(::socket(AF_INET, SOCK_STREAM, 0));
        EXPECT_EQ(::connect(client.get(), address(server), sizeof server), 0);
        return client;
    }

    /** Said by handlers on the queue, and waited for by the test. */
    void tell(const std::string& event)
    {
        const std::scoped_lock lock(mutex);
        events.push_back(event);
        changed.notify_all();
    }

    std::vector<std::string> waitFor(std::size_t count)
    {
        std::unique_lock lock(mutex);
        changed.wait_for(lock, std::chrono::seconds(10), [&] { return events.size() >= count; });
        return events;
    }

    RecordingLog log;
    SystemQueues queues{log};
    std::shared_ptr<SerialQueue> queue = queues.makeSerial("test");
    SocketNetwork network;
    sockaddr_in server{
        .sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}, .sin_zero = {}};
    Handler onConnection;
    std::vector<std::shared_ptr<TCPConnection>> connections;
    std::shared_ptr<TCPListener> listener;
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::string> events;
};

TEST_F(SocketNetworkTest, ALongRequestIsReadToItsEndAndALongAnswerReachesAClientThatReadsSlowly)
{
    const std::string body(std::size_t{8} << 20, 'x');
    std::string received;
    std::function<void(TCPConnection&)> readOn = [&](TCPConnection& connection) {
        connection.receive(1000, [&](const Received& read) {
            EXPECT_LE(read.bytes.size(), 1000U);
            received.append(read.bytes.begin(), read.bytes.end());
            if (!read.ended) return readOn(connection);
            connection.send({Data::copying("head "), Data::copying(std::string_view(body))},
                            [&](const auto& error) {
                                tell(error ? "failed" : "sent");
                                connection.cancel();
                            });
        });
    };
    serve([&](const auto& connection) {
        const std::string_view peer(reinterpret_cast<const char*>(&server.sin_addr), 4);
        EXPECT_TRUE(connection->peerAddress().ends_with(peer)) << "mapped into IPv6 or not";
        readOn(*connection);
    });
    const std::string sent(300'000, 'y');
    const FileDescriptor client = connect();
    EXPECT_EQ(::send(client.get(), sent.data(), sent.size(), 0), static_cast<ssize_t>(sent.size()));
    ::shutdown(client.get(), SHUT_WR);
    std::string answer;
    std::array<char, 65536> piece{};
    for (ssize_t count = 0; (count = ::recv(client.get(), piece.data(), piece.size(), 0)) > 0;) {
        answer.append(piece.data(), static_cast<std::size_t>(count));
    }
    EXPECT_TRUE(answer == "head " + body);
    EXPECT_EQ(waitFor(2).back(), "sent");
    EXPECT_TRUE(received == sent);
}

TEST_F(SocketNetworkTest, FailsWhenItsSocketCanNoLongerAccept)
{
    const auto isListening = [](int descriptor) {
        int accepts = 0;
        socklen_t length = sizeof accepts;
        ::getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &accepts, &length);
        return accepts != 0;
    };
    int descriptor = 0;
    while (!isListening(descriptor)) ASSERT_LT(++descriptor, 1024);
    ::shutdown(descriptor, SHUT_RD); // accept fails from now on, and the socket stays readable
    EXPECT_THAT(waitFor(2), ElementsAre("ready", "failed: Invalid argument"));
}

TEST_F(SocketNetworkTest, GoesOnAcceptingWhenDescriptorsAreBack)
{
    if (isSanitized) {
        GTEST_SKIP() << "the sanitizer's check of virtual calls opens descriptors of its own";
    }
    serve([&](const auto&) { tell("accepted"); });
    // The sanitizer needs a descriptor to look at a type for the first time: here the retry's
    // timer.
    queue->sync([&] { queue->after(std::chrono::seconds(0), [] {}).reset(); });
    const FileDescriptor client = connect();
    const FileDescriptor next(::socket(AF_INET, SOCK_STREAM, 0));
    waitFor(2);
    rlimit normal{};
    ::getrlimit(RLIMIT_NOFILE, &normal);
    const rlimit none{0, normal.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &none);
    ::connect(next.get(), address(server), sizeof server);
    waitFor(3);
    ::setrlimit(RLIMIT_NOFILE, &normal);
    EXPECT_THAT(waitFor(4),
                ElementsAre("ready", "accepted", "waiting: Too many open files", "accepted"));
}

} // namespace
} // namespace korvane
