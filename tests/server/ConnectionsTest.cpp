#include "ServerFixture.h"

#include <cerrno>
#include <chrono>

namespace korvane {
namespace {

using std::chrono::seconds;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pointee;
using testing::StartsWith;

using Clients = std::vector<std::shared_ptr<FakeConnection>>;

const std::string get = "GET / HTTP/1.1\r\n\r\n";
const std::string upload = "POST / HTTP/1.1\r\nContent-Length: 1000\r\n\r\nx";

constexpr auto isClosed = [](const std::shared_ptr<FakeConnection>& client) {
    return client->closed;
};

/** What every answer without a body says behind its status. */
const std::string noBody = "\r\nServer: Korvane/0.1\r\nContent-Type: application/ipp\r\n"
                           "Content-Length: 0\r\nConnection: close\r\n\r\n";

class Answering : public ServerFixture {
protected:
    void SetUp() override { startListening(); }
};

TEST_F(Answering, RoutesByContentTypeBeforeMethod)
{
    const std::pair<std::string, std::string> cases[] = {
        {"GET /no/such/page HTTP/1.1\r\nContent-Length: 5\r\n\r\n12345",
         "200 OK\r\nServer: Korvane/0.1\r\nContent-Type: text/plain\r\nContent-Length: 21\r\n"
         "Connection: close\r\n\r\nKorvane IPP endpoint\n"},
        {"GET / HTTP/1.1\r\nOrigin: http://x\r\n\r\n",
         "200 OK\r\nServer: Korvane/0.1\r\nContent-Type: text/plain\r\nContent-Length: 21\r\n"
         "Connection: close\r\n\r\nKorvane IPP endpoint\n"},
        {"POST / HTTP/1.1\r\nContent-Type: text/html\r\n\r\n",
         "415 Unsupported Media Type" + noBody},
        {"PUT / HTTP/1.1\r\n\r\n", "415 Unsupported Media Type" + noBody},
        {"get / HTTP/1.1\r\n\r\n", "415 Unsupported Media Type" + noBody},
        {"GET / HTTP/1.1\r\nContent-Type: application/ipp\r\n\r\n", "400 Bad Request" + noBody},
        {"POST / HTTP/1.1\r\nContent-Type: Application/IPP; x=y\r\n\r\n",
         "400 Bad Request" + noBody},
        {"POST / HTTP/1.1\r\nContent-Type: application/ipp\r\nOrigin: null\r\n\r\n",
         "403 Forbidden" + noBody},
        {"nonsense\r\n\r\n", "400 Bad Request" + noBody},
    };
    for (const auto& [request, answer] : cases)
        EXPECT_EQ(answerTo(request), "HTTP/1.1 " + answer) << request;
    EXPECT_EQ(log.count("IPPServer: HTTP parse error: bad request line: nonsense"), 1);
    EXPECT_EQ(log.count("IPPServer: refusing a request of a web page"), 1);
}

TEST_F(Answering, SendsTheInterimAnswerBeforeTheBodyAndOneFinalAnswer)
{
    const auto client =
        connectSending("POST / HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 2\r\n\r\n");
    EXPECT_EQ(client->answer, "HTTP/1.1 100 Continue\r\n\r\n");
    client->clientSends("ab");
    EXPECT_EQ(client->answer,
              "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 415 Unsupported Media Type" + noBody);
}

TEST_F(Answering, ClosesWithoutAnAnswerWhenTheClientEndsOrBreaksOffOrAsksForTLS)
{
    const auto finished = connectSending("POST / HTTP/1.1\r\nContent-Le");
    finished->clientFinishes();
    const auto broken = connect();
    broken->clientBreaksOff(ECONNRESET);
    const auto encrypted = connectSending("\x16\x03\x01");
    const Clients clients = {finished, broken, encrypted};
    EXPECT_TRUE(std::ranges::all_of(clients, isClosed));
    EXPECT_EQ(finished->answer + broken->answer + encrypted->answer, "");
    EXPECT_THAT(log.errors(),
                ElementsAre("IPPServer: receive error: Connection reset by peer",
                            "IPPServer: closing a connection: the client asks for TLS"));
}

TEST_F(Answering, LingersSoThatEveryClientReadsItsAnswer)
{
    const auto patient = connectSending(get + "and more");
    const auto sending = connectSending("nonsense\r\n");
    const auto silent = connectSending(get);
    for (const auto& client : {patient, sending, silent}) {
        EXPECT_TRUE(client->finishedSending);
        EXPECT_FALSE(client->closed);
    }
    patient->clientSends("and more");
    patient->clientFinishes();
    EXPECT_TRUE(patient->closed);
    for (int sent = 0; sent <= 16 && !sending->closed; ++sent)
        sending->clientSends(std::string(1 << 20, 'x'));
    EXPECT_TRUE(sending->closed) << "there is an end to it";
    queues.advance(seconds(5));
    EXPECT_TRUE(silent->closed);
    EXPECT_THAT(log.errors(),
                ElementsAre("IPPServer: HTTP parse error: bad request line: nonsense"));
    EXPECT_FALSE(queues.queue("ipp.server")->hasDelayedTask()) << "no wake-up without a connection";
}

TEST_F(Answering, FinishesOpenConnectionsAfterTheServerHasStopped)
{
    const auto asking = connectSending("GET / HTTP/1.1\r\n");
    const auto printing = connectSending(post(request(0x0002, named("a"), "%PDF")));
    stop();
    asking->clientSends("\r\n");
    asking->clientFinishes();
    queues.queue("main")->runWaiting();
    EXPECT_EQ(timesFinished, 0);
    queues.run();
    printing->clientFinishes();
    queues.run();
    EXPECT_THAT(asking->answer, StartsWith("HTTP/1.1 200 OK"));
    EXPECT_THAT(printing->answer, StartsWith("HTTP/1.1 200 OK"));
    EXPECT_EQ(timesFinished, 1);
    stop();
    queues.run();
    EXPECT_EQ(timesFinished, 2) << "without a connection it is finished at once";
}

class Bounds : public ServerFixture {
protected:
    /** A client whose answer waits for the background. */
    std::shared_ptr<FakeConnection> connectPrinting()
    {
        return connectSending(post(request(0x0002, named("a"), "%PDF")));
    }
};

TEST_F(Bounds, AnUploadIsNotEndedForConnectionsThatAskNothing)
{
    startListening();
    const auto uploading = connectSending(upload);
    queues.advance(seconds(30));
    Clients flood;
    for (int i = 0; i < 200; ++i) flood.push_back(connectSending("G"));
    EXPECT_FALSE(uploading->closed);
    EXPECT_EQ(std::ranges::count_if(flood, isClosed), 200 - 63);
    EXPECT_TRUE(flood.front()->closed) << "the longest idle one goes first";
    EXPECT_FALSE(flood.back()->closed);
    EXPECT_THAT(log.errors(),
                Each("IPPServer: closing least recently active connection: 64 are open"));
}

TEST_F(Bounds, AnUploadIsNotEndedForTheUploadsOfAnotherHost)
{
    limits.connections = 4;
    startListening();
    const auto victim = connectSending(upload, "laptop");
    Clients flood;
    for (int i = 0; i < 10; ++i) {
        queues.advance(seconds(1));
        flood.push_back(connectSending(upload, "flood"));
    }
    EXPECT_FALSE(victim->closed);
    EXPECT_EQ(std::ranges::count_if(flood, isClosed), 7);
    const auto late = connectSending(upload, "phone");
    EXPECT_FALSE(victim->closed);
    EXPECT_TRUE(flood[7]->closed) << "the host that has most gives way to others too";
}

TEST_F(Bounds, ANewConnectionIsRefusedWhenAllWaitForTheirAnswers)
{
    limits.connections = 2;
    startListening();
    const auto printing = connectPrinting();
    const auto receiving = connectSending("GET ");
    const auto alsoPrinting = connectPrinting();
    EXPECT_TRUE(receiving->closed);
    const auto first = connect();
    EXPECT_EQ(first->answer, "HTTP/1.1 503 Service Unavailable" + noBody);
    const auto next = connect();
    EXPECT_TRUE(first->closed) << "who has an answer gives way";
    EXPECT_EQ(next->answer, first->answer);
    network.latest().tell(TCPListener::Waiting{SystemError{EMFILE}});
    EXPECT_TRUE(next->closed);
    // An hour passes for the connections, but nothing is written.
    const auto queue = queues.queue("ipp.server");
    queue->moveTo(queue->now() + std::chrono::hours(1));
    queue->runWaiting();
    EXPECT_FALSE(printing->closed || alsoPrinting->closed);
    EXPECT_THAT(log.errors(),
                ElementsAre("IPPServer: closing least recently active connection: 2 are open",
                            "IPPServer: refusing a connection: 2 are open",
                            "IPPServer: refusing a connection: 2 are open",
                            "IPPServer: can't accept connections for now: Too many open files"));
    queues.run();
    EXPECT_THAT(printing->answer, StartsWith("HTTP/1.1 200 OK"));
    EXPECT_THAT(alsoPrinting->answer, StartsWith("HTTP/1.1 200 OK"));
}

TEST_F(Bounds, AClientMayPauseLongerOnceItsHeadersAreComplete)
{
    startListening();
    const auto idle = connect();
    const auto slow = connect();
    const auto uploading = connectSending(upload);
    for (int i = 0; i < 3; ++i) {
        queues.advance(seconds(29));
        slow->clientSends("x");
    }
    EXPECT_TRUE(idle->closed);
    EXPECT_FALSE(slow->closed);
    queues.advance(seconds(61));
    EXPECT_TRUE(slow->closed);
    EXPECT_EQ(log.count("IPPServer: closing a connection: idle for 60 s"), 2);
    EXPECT_FALSE(uploading->closed);
    queues.advance(seconds(600));
    EXPECT_TRUE(uploading->closed);
    EXPECT_EQ(log.count("IPPServer: closing a connection: idle for 600 s"), 1);
}

TEST_F(Bounds, TheRequestThatWantsMoreThanTheMemoryQuotaIsRefused)
{
    limits.memory = 10'000;
    limits.smallRequest = 1000;
    startListening();
    std::string headers = "GET / HTTP/1.1\r\n";
    for (int i = 0; i < 80; ++i) headers += std::to_string(i) + ":\r\n";
    const auto first = connectSending(headers);
    const auto second = connectSending(headers);
    EXPECT_EQ(first->answer, "") << "headers take more than their characters";
    EXPECT_EQ(second->answer, "HTTP/1.1 503 Service Unavailable" + noBody);
    const auto attributes =
        connectSending(head(5000) + std::string("\1\1\0\2\0\0\0\1\1\x44\0\1a\x7F\xFF", 15) +
                       std::string(3000, 'x'));
    EXPECT_EQ(attributes->answer, second->answer);
    EXPECT_THAT(log.errors(), Each("IPPServer: refusing a request: memory quota exceeded"));
    EXPECT_THAT(answerTo(get), StartsWith("HTTP/1.1 200 OK")) << "small ones are always taken";

    const std::string job = post(request(0x0002, {}, "%PDF" + std::string(5000, 'x')));
    const auto printing = connectSending(job.substr(0, job.size() - 1));
    EXPECT_EQ(printing->answer, "") << "it is written instead";
    queues.run();
    printing->clientSends(job.substr(job.size() - 1));
    queues.run();
    EXPECT_EQ(responseIn(printing->answer).code, 0);
    EXPECT_EQ(jobs.size(), 1U);
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
