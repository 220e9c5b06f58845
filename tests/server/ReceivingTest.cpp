#include "ServerFixture.h"

#include <fmt/format.h>

#include <cerrno>
#include <chrono>

namespace korvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr std::uint16_t ok = 0x0000, badRequest = 0x0400, notFound = 0x0406,
                        formatNotSupported = 0x040A, internalError = 0x0500,
                        operationNotSupported = 0x0501, busy = 0x0507;

/** Jobs that arrive over connections, and what their clients are told. */
class Receiving : public ServerFixture {
protected:
    void SetUp() override { startListening(); }
};

TEST_F(Receiving, AClientIsToldWhenItsJobIsInTheSpool)
{
    const auto client = connectSending(post(request(0x0002, named("Letter"), "%PDF-1.7 letter")));
    EXPECT_EQ(client->answer, "");
    EXPECT_EQ(spool.jobCount(), 0);
    queues.queue("background")->runWaiting();
    queues.queue("background")->runWaiting();
    EXPECT_EQ(spool.jobCount(), 1);
    EXPECT_EQ(client->answer, "");
    queues.run();
    const IPPMessage response = responseIn(client->answer);
    EXPECT_EQ(response.versionMajor, 1);
    EXPECT_EQ(response.versionMinor, 1);
    EXPECT_EQ(response.requestID, 77U);
    EXPECT_EQ(response.code, ok);
    ASSERT_THAT(response.groups, SizeIs(2));
    EXPECT_EQ(response.groups[0],
              (IPPAttributeGroup{
                  IPPTag::operationAttributes,
                  {ipp::makeTextAttribute("attributes-charset", {"utf-8"}, IPPTag::charset),
                   ipp::makeTextAttribute("attributes-natural-language", {"en"},
                                          IPPTag::naturalLanguage)}}));
    EXPECT_EQ(jobOf(response), completed(1));
    EXPECT_THAT(jobs, ElementsAre(TakenJob{"Letter", "%PDF-1.7 letter"}));
    EXPECT_EQ(log.lines().back(), "IPPServer: op=printJob reqID=77 bodyBytes=44 docBytes=15");
    EXPECT_EQ(jobOf(ask(request(0x0002, named("Next"), "%PDF"))), completed(2));
}

TEST_F(Receiving, AJobWithoutANameIsNamedAfterTheTime)
{
    ask(request(0x0002, {}, "%PDF"));
    ask(request(0x0002, named(""), "%PDF"));
    ask(request(0x0002, {{"job-name", {ipp::Integer{3}}}}, "%PDF"));
    EXPECT_THAT(jobs, testing::Each(TakenJob{"Print Job 2025-03-01T14:05:09", "%PDF"}));
    EXPECT_THAT(jobs, SizeIs(3));
}

TEST_F(Receiving, ALongDocumentIsWrittenWhileItArrivesAndNoFasterThanTheDisk)
{
    const std::string document = "%PDF" + std::string(5'000'000, 'x');
    const std::string message = post(request(0x0002, named("Long"), document));
    const auto client = connect();
    std::size_t sent = 0;
    const auto sendUntilHeldBack = [&] {
        while (!client->isHeldBack() && sent < message.size()) {
            client->clientSends(message.substr(sent, 200'000));
            sent += 200'000;
        }
        return sent;
    };
    EXPECT_LT(sendUntilHeldBack(), 2'500'000U) << "nothing has been written yet";
    for (std::size_t before = 0; sent < message.size(); before = sent) {
        queues.run();
        EXPECT_GT(sendUntilHeldBack(), before);
    }
    queues.run();
    EXPECT_EQ(jobOf(responseIn(client->answer)), completed(1));
    EXPECT_TRUE(jobs.back().document == document);
}

TEST_F(Receiving, AChunkedDocumentIsThatOfItsChunks)
{
    const std::string body(ipp::encode(request(0x0002, named("Chunks"), "%PDF")).text());
    const auto chunk = [](std::string_view bytes) {
        return fmt::format("{:x}\r\n{}\r\n", bytes.size(), bytes);
    };
    std::string message =
        "POST / HTTP/1.1\r\nContent-Type: application/ipp\r\nTransfer-Encoding: chunked\r\n\r\n";
    for (const char byte : body) message += chunk({&byte, 1});
    EXPECT_EQ(jobOf(responseIn(answerTo(message + chunk(" end") + "0\r\n\r\n"))), completed(1));
    EXPECT_THAT(jobs, ElementsAre(TakenJob{"Chunks", "%PDF end"}));
}

TEST_F(Receiving, ADocumentForWhichThereIsNoRoomIsRefusedBeforeItIsSent)
{
    // Half of it would fit, or one of two that are half as long.
    const std::uint64_t room = std::uint64_t{3} << 30;
    spool.restart(room);
    startListening();
    const std::string attributes(ipp::encode(request(0x0002)).text());
    const auto first = connectSending(head(room / 2 + (room >> 3)) + attributes);
    const auto second = connectSending(head(room / 2 + (room >> 3)) + attributes);
    EXPECT_EQ(first->answer, "");
    EXPECT_EQ(responseIn(second->answer).code, busy);
    EXPECT_THAT(log.errors(),
                ElementsAre("IPPServer: refusing a document: No space left on device"));
    first->clientFinishes();
    EXPECT_TRUE(first->closed);
    queues.run();
    const auto third = connectSending(head(room / 2 + (room >> 3)) + attributes);
    EXPECT_EQ(third->answer, "") << "the first one is expected no longer";
    EXPECT_EQ(ask(request(0x0004, {}, "%PDF not for printing")).code, ok);
}

TEST_F(Receiving, AChunkedDocumentIsRefusedAsSoonAsThereIsNoRoomForMore)
{
    spool.restart(1);
    startListening();
    const auto client = connectSending("POST / HTTP/1.1\r\nContent-Type: application/ipp\r\n"
                                       "Transfer-Encoding: chunked\r\n\r\n9\r\n" +
                                       std::string("\1\1\0\2\0\0\0\1\3", 9) + "\r\n");
    EXPECT_EQ(responseIn(client->answer).code, busy);
    client->clientSends("4\r\n%PDF\r\n");
    EXPECT_FALSE(client->closed) << "it may be sending, and reads the answer later";
}

TEST_F(Receiving, ADocumentThatCannotBeReadIsKeptAndItsSenderAndTheUserAreTold)
{
    const IPPMessage refusal = ask(request(0x0002, named("Poster 1/2"), "%!PS-Adobe-3.0"));
    EXPECT_EQ(refusal.code, formatNotSupported);
    EXPECT_EQ(jobOf(refusal), "none");
    ASSERT_THAT(refused, SizeIs(1));
    EXPECT_EQ(refused.front().filename(), "Poster 1_2");
    EXPECT_EQ(spool.state.read(refused.front().lexically_relative(spool.state.path())),
              "%!PS-Adobe-3.0");
    EXPECT_THAT(log.errors(),
                ElementsAre("IPPServer: rejecting unrecognized document — Unrecognized document "
                            "format (first bytes: 25 21 50 53 2D 41 64 6F)"));
    EXPECT_EQ(log.lines().back(),
              "IPPServer: the rejected document is kept as \"" + refused.front().string() + "\"");
    const IPPMessage empty = ask(request(0x0002));
    EXPECT_EQ(empty.code, badRequest);
    EXPECT_EQ(jobOf(ask(request(0x0002, {}, "%PDF"))), completed(1)) << "refused ones use no id";
}

TEST_F(Receiving, ARasterDocumentIsConvertedWhileOthersAreAnswered)
{
    struct Case {
        std::optional<DocumentError> error;
        std::uint16_t status;
    };
    const Case cases[] = {
        {{}, ok},
        {DocumentError{DocumentError::Kind::conversion, "Unsupported URF: zero pages"},
         formatNotSupported},
        {DocumentError{DocumentError::Kind::cannotWrite, "", SystemError{ENOSPC}}, busy},
        {DocumentError{DocumentError::Kind::worker}, internalError}};
    std::vector<Task> answers;
    converter.deliver = [&](const Task& answer) { answers.push_back(answer); };
    converter.converted = "%PDF converted";
    for (const Case& each : cases) {
        const auto client =
            connectSending(post(request(0x0002, named("Photo"), std::string_view("UNIRAST\0", 8))));
        queues.run();
        EXPECT_EQ(ask(request(0x0002, named("Letter"), "%PDF")).code, ok);
        EXPECT_EQ(client->answer, "");
        converter.conversionError = each.error;
        std::exchange(answers, {}).front()();
        queues.run();
        EXPECT_EQ(responseIn(client->answer).code, each.status);
    }
    EXPECT_THAT(jobs, testing::Contains(TakenJob{"Photo", "%PDF converted"}).Times(1));
    EXPECT_THAT(refused, SizeIs(1)) << "the other one can be printed again";
    EXPECT_EQ(log.count("IPPServer: rejecting unrecognized document — URF decode failed: "
                        "Unsupported URF: zero pages"),
              1);
}

TEST_F(Receiving, AMalformedMessageIsRefusedAtItsEnd)
{
    const std::string malformed("\1\1\0\2\0\0\0\1\x0Bxyz", 12);
    const std::string attributes(ipp::encode(request(0x0002)).text());
    const std::pair<std::string, std::string> cases[] = {
        {"", "(0 body bytes): truncated"},
        {attributes.substr(0, 6), "(6 body bytes): truncated"},
        {malformed, "(12 body bytes): invalidTag(11)"},
    };
    for (const auto& [body, error] : cases) {
        log.clear();
        EXPECT_THAT(answerTo(head(body.size()) + body), StartsWith("HTTP/1.1 400 Bad Request"));
        EXPECT_THAT(log.errors(), ElementsAre("IPPServer: IPP decode failed " + error));
    }
}

TEST_F(Receiving, DocumentsOfOneJobAreJoinedInOrder)
{
    EXPECT_EQ(jobOf(ask(request(0x0005, named("Parts")))), "1 4 job-incoming ipp://desk/print/1");
    EXPECT_EQ(jobOf(ask(request(0x0006, jobPart(ipp::Integer{1}, false), "%PDF one "))),
              completed(1));
    EXPECT_EQ(jobOf(ask(request(0x0006, jobPart(ipp::Integer{1}, false), "two "))), completed(1));
    EXPECT_EQ(jobOf(ask(request(0x0006, jobPart(ipp::Integer{1}, false)))), completed(1));
    EXPECT_THAT(jobs, IsEmpty());
    EXPECT_EQ(jobOf(ask(request(0x0006, jobPart(ipp::Integer{1}, true), "three"))), completed(1));
    EXPECT_THAT(jobs, ElementsAre(TakenJob{"Parts", "%PDF one two three"}));
    ask(request(0x0005, named("Last is empty")));
    ask(request(0x0006, jobPart(ipp::Integer{2}, false), "%PDF"));
    EXPECT_EQ(jobOf(ask(request(0x0006, jobPart(ipp::Integer{2})))), completed(2));
    EXPECT_EQ(jobs.back(), (TakenJob{"Last is empty", "%PDF"}));
}

TEST_F(Receiving, ADocumentIsTheLastUnlessItSaysOtherwise)
{
    const std::vector<std::vector<IPPValue>> values = {
        {ipp::Boolean{true}}, {ipp::NoValue{}}, {ipp::Integer{0}}, {}};
    std::int32_t id = 0;
    for (const auto& value : values) {
        ask(request(0x0005));
        auto attributes = jobPart(ipp::Integer{++id});
        if (!value.empty()) attributes.push_back({"last-document", value});
        ask(request(0x0006, attributes, "%PDF"));
        EXPECT_THAT(jobs, SizeIs(id));
    }
}

TEST_F(Receiving, ADocumentForAJobThatIsNotThereIsRefused)
{
    ask(request(0x0005));
    EXPECT_EQ(ask(request(0x0006, jobPart(ipp::Integer{9}), "%PDF")).code, notFound);
    EXPECT_EQ(jobOf(ask(request(0x0006, jobPart(ipp::Integer{9})))), completed(9));
    EXPECT_EQ(jobOf(ask(request(0x0006, jobPart(ipp::EnumValue{1})))), completed(0));
    const std::string last = post(request(0x0006, jobPart(ipp::Integer{1}), "%PDF"));
    const auto overtaken = connectSending(last.substr(0, last.size() - 1));
    EXPECT_EQ(ask(request(0x0006, jobPart(ipp::Integer{1}), "GIF8")).code, formatNotSupported);
    EXPECT_THAT(log.errors(), ElementsAre("IPPServer: send-document for job 1 rejected — "
                                          "Unrecognized document format (first bytes: 47 49 46 "
                                          "38)"));
    overtaken->clientSends(last.substr(last.size() - 1));
    EXPECT_EQ(responseIn(overtaken->answer).code, notFound) << "the job ended while it arrived";
    EXPECT_THAT(jobs, IsEmpty());
}

TEST_F(Receiving, AnUnfinishedJobIsDroppedAQuarterOfAnHourAfterItsLastByte)
{
    ask(request(0x0005));
    queues.advance(std::chrono::minutes(14));
    const std::string part = post(request(0x0006, jobPart(ipp::Integer{1}, false), "%PDF"));
    const auto slow = connectSending(part.substr(0, part.size() - 2));
    queues.advance(std::chrono::minutes(9));
    slow->clientSends(part.substr(part.size() - 2, 1));
    queues.advance(std::chrono::minutes(9));
    slow->clientSends(part.substr(part.size() - 1));
    queues.run();
    EXPECT_EQ(jobOf(responseIn(slow->answer)), completed(1));
    queues.advance(std::chrono::minutes(14));
    EXPECT_THAT(log.errors(), IsEmpty());
    queues.advance(std::chrono::minutes(1));
    EXPECT_THAT(log.errors(),
                ElementsAre("IPPServer: dropping job 1: timed out waiting for the last document"));
}

TEST_F(Receiving, TooManyUnfinishedJobsAreRefusedAndNoneIsDropped)
{
    for (int id = 1; id <= 300; ++id) {
        EXPECT_EQ(ask(request(0x0005, named(std::to_string(id)))).code, id <= 256 ? ok : busy);
    }
    ask(request(0x0006, jobPart(ipp::Integer{1}), "%PDF"));
    EXPECT_THAT(jobs, ElementsAre(TakenJob{"1", "%PDF"}));
}

TEST_F(Receiving, OtherOperationsAnswerWithoutDoingAnything)
{
    struct Case {
        std::uint16_t operation;
        std::uint16_t status;
        std::string name;
        std::string job;
    };
    const std::vector<Case> cases = {
        {0x0004, ok, "validateJob", "none"},
        {0x0008, ok, "cancelJob", "none"},
        {0x0009, ok, "getJobAttributes", completed(1)},
        {0x000A, ok, "getJobs", "none"},
        {0x0003, operationNotSupported, "0x3", "none"},
        {0x4ABC, operationNotSupported, "0x4abc", "none"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const IPPMessage response =
            ask(request(each.operation, jobPart(ipp::Integer{7}), "%PDF never printed"));
        EXPECT_EQ(response.code, each.status);
        EXPECT_EQ(jobOf(response), each.job);
        EXPECT_THAT(log.lines().back(), StartsWith("IPPServer: op=" + each.name + " reqID=77"));
    }
    EXPECT_THAT(jobs, IsEmpty());
}

TEST_F(Receiving, WhatWasAcceptedIsHandedOnWhateverHasBecomeOfTheServer)
{
    const auto client = connectSending(post(request(0x0002, named("Letter"), "%PDF")));
    server.reset();
    queues.run();
    EXPECT_EQ(client.use_count(), 1) << "the connection is dropped, and with that closed";
    EXPECT_EQ(client->answer, "");
    EXPECT_THAT(jobs, SizeIs(1));
}

} // namespace
} // namespace korvane
