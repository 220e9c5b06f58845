#include "ServerFixture.h"

#include <cerrno>
#include <chrono>

namespace korvane {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class Listening : public ServerFixture {};

TEST_F(Listening, AdvertisesThePrinterAndTellsItsOwner)
{
    startListening();
    EXPECT_THAT(readyPorts, ElementsAre(printerPort));
    EXPECT_THAT(directory.live, ElementsAre("Office"));
    EXPECT_EQ(directory.asked.back().port, printerPort);
    EXPECT_EQ(directory.asked.back().txt.size(), 23U);
    EXPECT_THAT(log.lines(), Contains("IPPServer: listening on port 8631 as \"Office\" uuid=0a0b"));
    EXPECT_THAT(log.lines(),
                Contains("IPPServer: publishing \"Office\" on port 8631 via all interfaces"));
}

TEST_F(Listening, RefusesPortZero)
{
    server = makeServer(0);
    const auto started = server->start();
    ASSERT_FALSE(started);
    EXPECT_EQ(describe(started.error()), "0 isn't a usable TCP port.");
}

TEST_F(Listening, GivesTheSystemsErrorWhenNoListenerCanBeMade)
{
    network.refusals = {SystemError{EMFILE}};
    server = makeServer(printerPort);
    const auto started = server->start();
    ASSERT_FALSE(started);
    EXPECT_EQ(describe(started.error()), "Too many open files");
}

TEST_F(Listening, PublishesAgainOnRequestAndOnAnotherInterface)
{
    startListening();
    printerName = "Attic";
    server->republish();
    queues.run();
    EXPECT_THAT(directory.live, ElementsAre("Attic"));

    paths.update({{ethernet}});
    queues.run();
    EXPECT_EQ(directory.asked.back().interfaceIndex, 2U);
    EXPECT_EQ(log.count("IPPServer: publishing \"Attic\" on port 8631 via wired interface eth0 "
                        "(index 2)"),
              1);
}

TEST_F(Listening, SaysNothingToTheNetworkBeforeItListens)
{
    server = makeServer(printerPort);
    ASSERT_TRUE(server->start());
    paths.update({{ethernet}});
    server->republish();
    queues.run();
    EXPECT_THAT(directory.asked, IsEmpty());
}

TEST_F(Listening, WithdrawsEverythingWhenStopped)
{
    startListening();
    stop();
    EXPECT_TRUE(network.latest().cancelled);
    EXPECT_THAT(directory.live, IsEmpty());
    tell(TCPListener::Cancelled{});
    EXPECT_EQ(log.lines().back(), "IPPServer: listener cancelled");
    server->republish();
    queues.advance(seconds(60));
    EXPECT_EQ(network.listeners.size(), 1U);
    EXPECT_THAT(directory.live, IsEmpty());
}

class ListenerRestart : public ServerFixture {};

TEST_F(ListenerRestart, ReportsATakenPortOnceHoweverManyRetriesFail)
{
    server = makeServer(printerPort);
    ASSERT_TRUE(server->start());
    std::size_t listeners = 1;
    for (const int delay : {1, 2, 4, 8, 16, 30, 30}) {
        tell(TCPListener::Failed{SystemError{EADDRINUSE}});
        EXPECT_THAT(log.lines(),
                    Contains("IPPServer: restarting listener in " + std::to_string(delay) + "s"));
        queues.advance(seconds(delay) - milliseconds(1));
        EXPECT_EQ(network.listeners.size(), listeners);
        queues.advance(milliseconds(1));
        EXPECT_EQ(network.listeners.size(), ++listeners);
    }
    EXPECT_THAT(unavailable, ElementsAre(EADDRINUSE));
    EXPECT_EQ(log.count("IPPServer: can't bind port 8631 (Address already in use). Not advertising "
                        "— the printer will be unavailable, and clients keep whatever they already "
                        "cached, rather than being pointed at a different port. Free the port or "
                        "change it in Settings; retrying meanwhile."),
              7);
}

TEST_F(ListenerRestart, WaitsOneSecondAgainAfterTheListenerWasReady)
{
    startListening();
    for (int failures = 0; failures < 3; ++failures) {
        tell(TCPListener::Failed{SystemError{ENETDOWN}});
        queues.advance(seconds(30));
    }
    EXPECT_EQ(log.count("IPPServer: listener failed: Network is down"), 3);
    EXPECT_THAT(directory.live, IsEmpty());
    tell(TCPListener::Ready{});
    EXPECT_THAT(directory.live, ElementsAre("Office"));
    log.clear();
    tell(TCPListener::Cancelled{});
    EXPECT_THAT(log.lines(), ElementsAre("IPPServer: listener cancelled unexpectedly",
                                         "IPPServer: restarting listener in 1s"));
}

TEST_F(ListenerRestart, TriesAgainWhenNotEvenAListenerCanBeMade)
{
    startListening();
    tell(TCPListener::Failed{SystemError{EACCES}});
    network.refusals = {SystemError{ENOBUFS}};
    queues.advance(seconds(1));
    EXPECT_EQ(log.count("IPPServer: listener restart failed: No buffer space available"), 1);
    queues.advance(seconds(2));
    EXPECT_EQ(network.listeners.size(), 2U);
}

TEST_F(ListenerRestart, IsCalledOffByStop)
{
    startListening();
    tell(TCPListener::Failed{SystemError{ENETDOWN}});
    stop();
    queues.advance(seconds(60));
    EXPECT_EQ(network.listeners.size(), 1U);
}

TEST_F(ListenerRestart, IgnoresLateStatesOfAnEarlierListener)
{
    startListening();
    const auto earlier = network.listeners.front();
    tell(TCPListener::Failed{SystemError{ENETDOWN}});
    earlier->tell(TCPListener::Cancelled{});
    queues.advance(seconds(1));
    tell(TCPListener::Ready{});
    log.clear();
    earlier->tell(TCPListener::Failed{SystemError{EADDRINUSE}});
    queues.advance(seconds(60));
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_EQ(network.listeners.size(), 2U);
}

} // namespace
} // namespace korvane
