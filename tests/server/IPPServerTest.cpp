#include "server/IPPServer.h"

#include "support/FakeDocuments.h"
#include "support/FakeNetwork.h"
#include "support/FakeNetworkPaths.h"
#include "support/FakeServiceDirectory.h"
#include "support/ManualClock.h"
#include "support/ManualQueues.h"
#include "support/RecordingLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace korvane {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr std::uint16_t printerPort = 8631;

/** A server on manual queues, with every peer played by the test. */
class IPPServerTest : public testing::Test {
protected:
    std::shared_ptr<IPPServer> makeServer(std::uint16_t port, ConnectionTable::Limits limits = {})
    {
        auto made = IPPServer::make(
            port,
            [this] {
                return PrinterDescriptor{.name = printerName,
                                         .uri = "ipp://desk.local.:8631/ipp/print",
                                         .uuid = "0a0b",
                                         .location = "desk"};
            },
            [this](const std::string&, const Data& pdf) {
                if (failInside) throw std::bad_alloc();
                documents.push_back(pdf);
            },
            {.queues = queues,
             .network = network,
             .clock = clock,
             .log = log,
             .documents = converter,
             .directory = &directory,
             .paths = &paths,
             .limits = limits});
        made->onReady = [this](std::uint16_t ready) { readyPorts.push_back(ready); };
        made->onPortUnavailable = [this](std::uint16_t, const SystemError& error) {
            unavailable.push_back(error.code);
        };
        return made;
    }

    void startListening(ConnectionTable::Limits limits = {})
    {
        server = makeServer(printerPort, limits);
        ASSERT_TRUE(server->start());
        tell(TCPListener::Ready{});
    }

    void tell(const TCPListener::State& state)
    {
        network.latest().tell(state);
        queues.run();
    }

    std::shared_ptr<FakeConnection> connect() { return network.latest().connect(); }

    /** A client that has sent a raster document, whose conversion waits for the utility queue. */
    std::shared_ptr<FakeConnection> connectPrinting()
    {
        const auto client = connect();
        client->clientSends(printJob(std::string_view("UNIRAST\0\0\0\0\1", 12)));
        return client;
    }

    static std::string printJob(std::string_view document)
    {
        const std::string body = std::string("\1\1\0\2\0\0\0\1\3", 9).append(document);
        return "POST / HTTP/1.1\r\nContent-Type: application/ipp\r\nContent-Length: " +
               std::to_string(body.size()) + "\r\n\r\n" + body;
    }

    void stop()
    {
        server->stop([this] { ++timesFinished; });
    }

    std::string answerTo(std::string_view request)
    {
        const auto client = connect();
        client->clientSends(request);
        queues.run();
        EXPECT_TRUE(client->closed);
        return client->answer;
    }

    ManualQueues queues;
    FakeNetwork network;
    FakeServiceDirectory directory;
    FakeNetworkPaths paths;
    ManualClock clock;
    RecordingLog log;
    FakeDocuments converter;
    std::string printerName = "Office";
    std::vector<std::uint16_t> readyPorts;
    std::vector<int> unavailable;
    std::vector<Data> documents;
    bool failInside = false;
    int timesFinished = 0;
    std::shared_ptr<IPPServer> server;
};

class Listening : public IPPServerTest {};

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

class ListenerRestart : public IPPServerTest {};

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

class Answering : public IPPServerTest {};

TEST_F(Answering, AnswersAPlainGETOfAnyPathInSoManyBytes)
{
    startListening();
    EXPECT_EQ(answerTo("GET /no/such/page HTTP/1.1\r\nHost: x\r\n\r\n"),
              "HTTP/1.1 200 OK\r\nServer: Korvane/0.1\r\nContent-Type: text/plain\r\n"
              "Content-Length: 21\r\nConnection: close\r\n\r\nKorvane IPP endpoint\n");
}

TEST_F(Answering, RoutesByContentTypeBeforeMethod)
{
    struct Case {
        std::string request;
        std::string status;
    };
    const std::vector<Case> cases = {
        {"POST / HTTP/1.1\r\nContent-Type: text/html\r\n\r\n", "415 Unsupported Media Type"},
        {"PUT / HTTP/1.1\r\n\r\n", "415 Unsupported Media Type"},
        {"get / HTTP/1.1\r\n\r\n", "415 Unsupported Media Type"},
        {"GET / HTTP/1.1\r\nContent-Type: application/ipp\r\n\r\n", "400 Bad Request"},
        {"POST / HTTP/1.1\r\nContent-Type: Application/IPP; x=y\r\n\r\n", "400 Bad Request"},
        {"nonsense\r\n\r\n", "400 Bad Request"},
    };
    startListening();
    for (const Case& each : cases) {
        SCOPED_TRACE(each.request);
        const auto client = connect();
        client->clientSends(each.request);
        EXPECT_EQ(client->answer, "HTTP/1.1 " + each.status +
                                      "\r\nServer: Korvane/0.1\r\nContent-Type: application/ipp\r\n"
                                      "Content-Length: 0\r\nConnection: close\r\n\r\n");
    }
    EXPECT_EQ(log.count("IPPServer: HTTP parse error: bad request line: nonsense"), 1);
    EXPECT_EQ(log.count("IPPServer: IPP decode failed (0 body bytes): truncated"), 2);
}

TEST_F(Answering, SendsTheInterimAnswerBeforeTheBodyAndOneFinalAnswer)
{
    startListening();
    const auto client = connect();
    client->clientSends("POST / HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 2\r\n\r\n");
    EXPECT_EQ(client->answer, "HTTP/1.1 100 Continue\r\n\r\n");
    client->clientSends("ab");
    EXPECT_THAT(client->answer, StartsWith("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 415 "));
}

TEST_F(Answering, ClosesWithoutAnAnswerWhenTheClientEndsOrBreaksOff)
{
    startListening();
    const auto finished = connect();
    finished->clientSends("POST / HTTP/1.1\r\nContent-Le");
    finished->clientFinishes();
    const auto broken = connect();
    broken->clientBreaksOff(ECONNRESET);
    EXPECT_TRUE(finished->closed);
    EXPECT_TRUE(broken->closed);
    EXPECT_EQ(finished->answer + broken->answer, "");
    EXPECT_THAT(log.errors(), ElementsAre("IPPServer: receive error: Connection reset by peer"));
}

TEST_F(Answering, LetsARefusedClientFinishSendingSoThatItReadsTheAnswer)
{
    startListening();
    const auto client = connect();
    client->clientSends("nonsense\r\n");
    EXPECT_TRUE(client->finishedSending);
    client->clientSends("and a lot more of it");
    EXPECT_FALSE(client->closed);
    client->clientFinishes();
    EXPECT_TRUE(client->closed);
}

TEST_F(Answering, FinishesOpenConnectionsAfterTheServerHasStopped)
{
    startListening();
    const auto asking = connect();
    const auto printing = connectPrinting();
    asking->clientSends("GET / HTTP/1.1\r\n");
    stop();
    asking->clientSends("\r\n");
    EXPECT_THAT(asking->answer, StartsWith("HTTP/1.1 200 OK"));
    queues.queue("main")->runWaiting();
    EXPECT_EQ(timesFinished, 0);
    queues.run();
    EXPECT_THAT(printing->answer, StartsWith("HTTP/1.1 200 OK"));
    EXPECT_THAT(documents, testing::SizeIs(1));
    EXPECT_EQ(timesFinished, 1);
    stop();
    queues.run();
    EXPECT_EQ(timesFinished, 2) << "without a connection it is finished at once";
}

TEST_F(Answering, EndsWithItsServerWhateverIsOpen)
{
    startListening();
    const auto idle = connect();
    const auto printing = connectPrinting();
    const std::weak_ptr<IPPServer> watched = server;
    stop();
    server.reset();
    EXPECT_TRUE(watched.expired());
    idle->clientSends("GET / HTTP/1.1\r\n\r\n");
    queues.run();
    EXPECT_EQ(idle.use_count(), 1) << "the connection is dropped, and with that closed";
    EXPECT_EQ(printing.use_count(), 1);
    EXPECT_EQ(idle->answer + printing->answer, "");
    EXPECT_THAT(documents, IsEmpty());
}

class Bounds : public IPPServerTest {};

TEST_F(Bounds, TheLeastRecentlyActiveConnectionGivesWayToANewOne)
{
    startListening({.connections = 3});
    const auto first = connect();
    queues.advance(seconds(1));
    const auto second = connect();
    const auto third = connect();
    queues.advance(seconds(1));
    first->clientSends("GET ");
    const auto fourth = connect();
    EXPECT_FALSE(first->closed);
    EXPECT_TRUE(second->closed);
    fourth->clientSends("GET / HTTP/1.1\r\n\r\n");
    EXPECT_THAT(fourth->answer, StartsWith("HTTP/1.1 200 OK"));
    EXPECT_THAT(log.errors(),
                ElementsAre("IPPServer: closing least recently active connection: 3 are open"));
}

TEST_F(Bounds, AConnectionBeingAnsweredIsNeitherClosedForANewOneNorIdle)
{
    startListening({.connections = 2});
    const auto printing = connectPrinting();
    const auto receiving = connect();
    receiving->clientSends("GET ");
    const auto alsoPrinting = connectPrinting();
    EXPECT_TRUE(receiving->closed);
    const auto refused = connect();
    EXPECT_EQ(refused.use_count(), 1) << "refused, it is dropped";
    network.latest().tell(TCPListener::Waiting{SystemError{EMFILE}});
    // A minute passes for the connections, but no conversion is made.
    const auto queue = queues.queue("ipp.server");
    queue->moveTo(queue->now() + seconds(61));
    queue->runWaiting();
    EXPECT_FALSE(printing->closed);
    EXPECT_FALSE(alsoPrinting->closed);
    EXPECT_THAT(log.errors(),
                ElementsAre("IPPServer: closing least recently active connection: 2 are open",
                            "IPPServer: refusing a connection: 2 are waiting for an answer",
                            "IPPServer: can't accept connections for now: Too many open files"));
    queues.run();
    EXPECT_THAT(printing->answer, StartsWith("HTTP/1.1 200 OK"));
    EXPECT_THAT(alsoPrinting->answer, StartsWith("HTTP/1.1 200 OK"));
}

TEST_F(Bounds, ConnectionsThatNeverSentAnythingGiveWayFirst)
{
    startListening({.connections = 3});
    const auto talking = connect();
    talking->clientSends("GET ");
    queues.advance(seconds(1));
    std::vector<std::shared_ptr<FakeConnection>> flood;
    for (int i = 0; i < 10; ++i) flood.push_back(connect());
    EXPECT_FALSE(talking->closed);
    EXPECT_TRUE(flood.front()->closed);
}

TEST_F(Bounds, AConnectionIsClosedAfterAMinuteWithoutAByte)
{
    startListening();
    const auto idle = connect();
    const auto slow = connect();
    for (int i = 0; i < 3; ++i) {
        queues.advance(seconds(29));
        slow->clientSends("x");
    }
    EXPECT_TRUE(idle->closed);
    EXPECT_FALSE(slow->closed);
    queues.advance(seconds(61));
    EXPECT_TRUE(slow->closed);
    EXPECT_EQ(log.count("IPPServer: closing a connection: idle for 60 s"), 2);
    EXPECT_FALSE(queues.queue("ipp.server")->hasDelayedTask()) << "no wake-up without a connection";
}

TEST_F(Bounds, TheLargestConnectionGivesWayWhenTheMemoryQuotaIsExceeded)
{
    startListening({.memory = 1000, .smallRequest = 100});
    const auto large = connect();
    large->clientSends("POST / HTTP/1.1\r\nContent-Length: 5000\r\n\r\n" + std::string(800, 'x'));
    const auto other = connect();
    other->clientSends("POST / HTTP/1.1\r\nContent-Length: 400\r\n\r\n" + std::string(300, 'x'));
    EXPECT_TRUE(large->closed);
    other->clientSends(std::string(100, 'x'));
    EXPECT_THAT(other->answer, StartsWith("HTTP/1.1 415"));
    const auto alone = connect();
    alone->clientSends("POST / HTTP/1.1\r\nContent-Length: 5000\r\n\r\n" + std::string(999, 'x'));
    EXPECT_THAT(alone->answer, StartsWith("HTTP/1.1 400"));
    EXPECT_THAT(log.errors(), ElementsAre(HasSubstr("closing connection with 8"),
                                          "IPPServer: HTTP parse error: memory quota exceeded"));
}

TEST_F(Bounds, ADocumentCountsForAsLongAsItIsKept)
{
    startListening({.memory = 1000, .smallRequest = 100});
    const std::string job = printJob("%PDF" + std::string(700, 'x'));
    EXPECT_THAT(answerTo(job), StartsWith("HTTP/1.1 200 OK"));
    const auto refused = connect();
    refused->clientSends(job);
    EXPECT_THAT(refused->answer, StartsWith("HTTP/1.1 400"));
    EXPECT_THAT(answerTo("GET / HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 200 OK"));
    documents.clear();
    EXPECT_THAT(answerTo(job), StartsWith("HTTP/1.1 200 OK"));
}

TEST_F(Bounds, AClientWhoseJobFailsInsideIsClosedAndForgotten)
{
    startListening();
    failInside = true;
    const auto client = connect();
    client->clientSends(printJob("%PDF"));
    queues.run();
    EXPECT_TRUE(client->closed);
    EXPECT_THAT(log.errors(), ElementsAre("IPPServer: closing a connection: std::bad_alloc"));
}

TEST_F(Bounds, AShortageOfDescriptorsIsLoggedAndClosesTheLeastRecentlyActiveConnection)
{
    startListening();
    const auto idle = connect();
    tell(TCPListener::Waiting{SystemError{EMFILE}});
    EXPECT_TRUE(idle->closed);
    EXPECT_EQ(log.count("IPPServer: can't accept connections for now: Too many open files"), 1);
    EXPECT_THAT(directory.live, ElementsAre("Office"));
}

} // namespace
} // namespace korvane
