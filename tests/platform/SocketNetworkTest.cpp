#include "platform/tcp/SocketNetwork.h"

#include "platform/base/FileDescriptor.h"
#include "platform/queue/SystemQueues.h"
#include "support/RecordingLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace korvane {
namespace {

using testing::Contains;
using testing::ElementsAre;

/** What handlers on the queue tell, and the test waits for. */
class Events {
public:
    void add(std::string event)
    {
        const std::scoped_lock lock(mutex_);
        events_.push_back(std::move(event));
        changed_.notify_all();
    }

    std::vector<std::string> waitFor(std::size_t count)
    {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, std::chrono::seconds(10), [&] { return events_.size() >= count; });
        return events_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> events_;
};

std::string nameOf(const TCPListener::State& state)
{
    if (std::holds_alternative<TCPListener::Ready>(state)) return "ready";
    if (const auto* failed = std::get_if<TCPListener::Failed>(&state)) {
        return "failed " + std::to_string(failed->error.code);
    }
    if (const auto* waiting = std::get_if<TCPListener::Waiting>(&state)) {
        return "waiting " + std::to_string(waiting->error.code);
    }
    return "cancelled";
}

std::uint16_t freePort()
{
    const FileDescriptor probe(::socket(AF_INET6, SOCK_STREAM, 0));
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    socklen_t length = sizeof address;
    ::bind(probe.get(), reinterpret_cast<sockaddr*>(&address), length);
    ::getsockname(probe.get(), reinterpret_cast<sockaddr*>(&address), &length);
    return ntohs(address.sin6_port);
}

class SocketNetworkTest : public testing::Test {
protected:
    ~SocketNetworkTest() override
    {
        queue->sync([this] {
            connections.clear();
            if (listener) listener->cancel();
            listener.reset();
        });
        // The last states are still on their way.
        queue->sync([] {});
    }

    std::shared_ptr<TCPListener> listen(std::uint16_t onPort, Events& told)
    {
        auto made = network.makeListener(*TCPPort::make(onPort), *queue);
        EXPECT_TRUE(made);
        (*made)->start([&told](const auto& state) { told.add(nameOf(state)); },
                       [this](std::shared_ptr<TCPConnection> connection) {
                           connections.push_back(connection);
                           if (onConnection) onConnection(connection);
                       });
        return *made;
    }

    /** A blocking client, over IPv4. */
    FileDescriptor connect() const
    {
        FileDescriptor client(::socket(AF_INET, SOCK_STREAM, 0));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::connect(client.get(), reinterpret_cast<sockaddr*>(&address), sizeof address),
                  0);
        return client;
    }

    static std::string readAll(const FileDescriptor& client)
    {
        std::string all;
        std::vector<char> piece(65536);
        for (ssize_t count = 1; count > 0;) {
            count = ::recv(client.get(), piece.data(), piece.size(), 0);
            if (count > 0) all.append(piece.data(), static_cast<std::size_t>(count));
        }
        return all;
    }

    RecordingLog log;
    SystemQueues queues{log};
    std::shared_ptr<SerialQueue> queue = queues.makeSerial("test");
    SocketNetwork network;
    const std::uint16_t port = freePort();
    Events states;
    Events secondStates;
    std::function<void(const std::shared_ptr<TCPConnection>&)> onConnection;
    std::vector<std::shared_ptr<TCPConnection>> connections;
    std::shared_ptr<TCPListener> listener;
};

TEST_F(SocketNetworkTest, ASecondListenerFailsOnItsQueueAndThePortIsFreeAfterTheFirst)
{
    listener = listen(port, states);
    EXPECT_THAT(states.waitFor(1), ElementsAre("ready"));
    queue->sync([&] { EXPECT_EQ(listener->port(), port); });

    auto second = listen(port, secondStates);
    EXPECT_THAT(secondStates.waitFor(1), ElementsAre("failed " + std::to_string(EADDRINUSE)));

    const FileDescriptor client = connect();
    queue->sync([&] { listener->cancel(); });
    EXPECT_THAT(states.waitFor(2), ElementsAre("ready", "cancelled"));
    listener = listen(port, secondStates);
    EXPECT_THAT(secondStates.waitFor(2), Contains("ready"));
}

TEST_F(SocketNetworkTest, ALongAnswerReachesAClientThatReadsSlowly)
{
    const std::string body(std::size_t{8} << 20, 'x');
    onConnection = [&](const std::shared_ptr<TCPConnection>& connection) {
        connection->send(
            {Data::copying("head "), Data::copying(std::string_view(body)), Data::copying(" tail")},
            [&, connection](const auto& error) {
                states.add(error ? "failed" : "sent");
                connection->cancel();
            });
    };
    listener = listen(port, states);
    states.waitFor(1);
    const FileDescriptor client = connect();
    EXPECT_EQ(readAll(client), "head " + body + " tail");
    EXPECT_THAT(states.waitFor(2), ElementsAre("ready", "sent"));
}

TEST_F(SocketNetworkTest, ReadsBringEveryByteThenTheEnd)
{
    std::size_t received = 0;
    std::function<void(TCPConnection&)> readOn = [&](TCPConnection& connection) {
        connection.receive(1000, [&](const Received& read) {
            EXPECT_LE(read.bytes.size(), 1000U);
            received += read.bytes.size();
            read.ended ? states.add("ended") : readOn(connection);
        });
    };
    onConnection = [&](const auto& connection) { readOn(*connection); };
    listener = listen(port, states);
    states.waitFor(1);
    const std::string sent(300'000, 'y');
    const FileDescriptor client = connect();
    EXPECT_EQ(::send(client.get(), sent.data(), sent.size(), 0), static_cast<ssize_t>(sent.size()));
    ::shutdown(client.get(), SHUT_WR);
    EXPECT_THAT(states.waitFor(2), ElementsAre("ready", "ended"));
    EXPECT_EQ(received, sent.size());
}

TEST_F(SocketNetworkTest, GoesOnAcceptingWhenDescriptorsAreBack)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer's check of virtual calls opens descriptors of its own";
#endif
    listener = listen(port, states);
    states.waitFor(1);
    const FileDescriptor client = connect();
    const FileDescriptor next(::socket(AF_INET, SOCK_STREAM, 0));
    queue->sync([] {});
    rlimit normal{};
    ::getrlimit(RLIMIT_NOFILE, &normal);
    const rlimit none{0, normal.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &none);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::connect(next.get(), reinterpret_cast<sockaddr*>(&address), sizeof address);
    const auto told = states.waitFor(2);
    ::setrlimit(RLIMIT_NOFILE, &normal);
    EXPECT_THAT(told, ElementsAre("ready", "waiting " + std::to_string(EMFILE)));

    queue->sync([&] {
        onConnection = [&](const auto&) { secondStates.add("accepted"); };
        for (std::size_t i = 1; i < connections.size(); ++i) secondStates.add("accepted");
    });
    EXPECT_THAT(secondStates.waitFor(1), ElementsAre("accepted"));
}

} // namespace
} // namespace korvane
