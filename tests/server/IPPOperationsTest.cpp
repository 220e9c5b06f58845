#include "server/IPPOperations.h"

#include "ipp/IPPCodec.h"
#include "support/FakeDocuments.h"
#include "support/ManualClock.h"
#include "support/ManualQueues.h"
#include "support/RecordingLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace korvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

struct Job {
    std::string name;
    std::string document;

    friend bool operator==(const Job&, const Job&) = default;
};

constexpr std::string_view raster("UNIRAST\0\0\0\0\1", 12);

/** The operations with one client that asks and reads the answers. */
class IPPOperationsTest : public testing::Test {
protected:
    static IPPMessage request(std::uint16_t code, std::vector<IPPAttribute> attributes = {},
                              std::string_view document = {})
    {
        IPPMessage message{.versionMajor = 1, .versionMinor = 1, .code = code, .requestID = 77};
        message.groups.push_back({IPPTag::operationAttributes, std::move(attributes)});
        message.documentData = Data::copying(document);
        return message;
    }

    static std::vector<IPPAttribute> named(const std::string& name)
    {
        return {ipp::makeTextAttribute("job-name", {name}, IPPTag::nameWithoutLang)};
    }

    static std::vector<IPPAttribute> jobPart(IPPValue id, std::optional<bool> last = {})
    {
        std::vector<IPPAttribute> attributes = {{"job-id", {std::move(id)}}};
        if (last) attributes.push_back({"last-document", {ipp::Boolean{*last}}});
        return attributes;
    }

    HTTPResponse post(const Data& body)
    {
        std::vector<HTTPResponse> answers;
        HTTPRequest http;
        http.body = body;
        operations->handleRequest(http, [&](HTTPResponse answer) { answers.push_back(answer); });
        queues.run();
        EXPECT_THAT(answers, SizeIs(1));
        return answers.empty() ? HTTPResponse{} : answers.front();
    }

    /** Posts a request and gives the IPP response inside "200 OK". */
    IPPMessage ask(const IPPMessage& message)
    {
        const HTTPResponse response = post(ipp::encode(message));
        EXPECT_EQ(response.status, "200 OK");
        return ipp::decode(response.body).value_or(IPPMessage{});
    }

    static std::uint16_t code(IPPStatus status) { return static_cast<std::uint16_t>(status); }

    /** The job group of a response in words: "id state reason uri". */
    static std::string jobOf(const IPPMessage& response)
    {
        const auto find = [&](std::string_view name) {
            return ipp::findAttribute(response, name, IPPTag::jobAttributes);
        };
        if (find("job-id") == nullptr) return "none";
        return std::to_string(std::get<ipp::Integer>(find("job-id")->values[0]).value) + " " +
               std::to_string(std::get<ipp::EnumValue>(find("job-state")->values[0]).value) + " " +
               std::get<ipp::Text>(find("job-state-reasons")->values[0]).text + " " +
               std::get<ipp::Text>(find("job-uri")->values[0]).text;
    }

    static std::string completed(int id)
    {
        return std::to_string(id) + " 9 job-completed-successfully ipp://desk/print/" +
               std::to_string(id);
    }

    ManualQueues queues;
    ManualClock clock;
    RecordingLog log;
    std::vector<Job> jobs;
    FakeDocuments converter;
    MemoryQuota documents;
    std::shared_ptr<IPPOperations> operations = std::make_shared<IPPOperations>(
        queues.queue("ipp.server"), queues.utility(), converter, clock, log, documents,
        [] {
            return PrinterDescriptor{"Office", "ipp://desk/print", "0a0b", "desk"};
        },
        [this](const std::string& name, const Data& pdf) {
            jobs.push_back({name, std::string(pdf.text())});
        });
};

TEST_F(IPPOperationsTest, PrintJobHandsTheDocumentOnAndReportsItCompleted)
{
    const IPPMessage response = ask(request(0x0002, named("Letter"), "%PDF-1.7 letter"));
    EXPECT_EQ(response.versionMajor, 1);
    EXPECT_EQ(response.versionMinor, 1);
    EXPECT_EQ(response.requestID, 77U);
    EXPECT_EQ(response.code, code(IPPStatus::successfulOk));
    ASSERT_THAT(response.groups, SizeIs(2));
    EXPECT_EQ(response.groups[0],
              (IPPAttributeGroup{
                  IPPTag::operationAttributes,
                  {ipp::makeTextAttribute("attributes-charset", {"utf-8"}, IPPTag::charset),
                   ipp::makeTextAttribute("attributes-natural-language", {"en"},
                                          IPPTag::naturalLanguage)}}));
    EXPECT_EQ(jobOf(response), completed(1));
    EXPECT_THAT(jobs, ElementsAre(Job{"Letter", "%PDF-1.7 letter"}));
    EXPECT_EQ(log.lines().front(), "IPPServer: op=printJob reqID=77 bodyBytes=44 docBytes=15");
    EXPECT_EQ(jobOf(ask(request(0x0002, named("Next"), "%PDF"))), completed(2));
}

TEST_F(IPPOperationsTest, AJobWithoutANameIsNamedAfterTheTime)
{
    ask(request(0x0002, {}, "%PDF"));
    ask(request(0x0002, named(""), "%PDF"));
    ask(request(0x0002, {{"job-name", {ipp::Integer{3}}}}, "%PDF"));
    EXPECT_THAT(jobs, testing::Each(Job{"Print Job 2025-03-01T14:05:09", "%PDF"}));
    EXPECT_THAT(jobs, SizeIs(3));
}

TEST_F(IPPOperationsTest, ARefusedDocumentUsesNoJobID)
{
    const IPPMessage refused = ask(request(0x0002, {}, "%!PS-Adobe-3.0"));
    EXPECT_EQ(refused.code, code(IPPStatus::clientErrorDocumentFormatNotSupported));
    EXPECT_EQ(jobOf(refused), "none");
    EXPECT_THAT(log.errors(),
                ElementsAre("IPPServer: rejecting unrecognized document — Unrecognized document "
                            "format (first bytes: 25 21 50 53 2D 41 64 6F)"));
    const IPPMessage empty = ask(request(0x0002));
    EXPECT_EQ(empty.code, code(IPPStatus::clientErrorBadRequest));
    EXPECT_EQ(jobOf(empty), "none");
    EXPECT_EQ(jobOf(ask(request(0x0002, {}, "%PDF"))), completed(1));
}

TEST_F(IPPOperationsTest, ARasterDocumentIsConvertedWhileOthersAreAnswered)
{
    HTTPRequest http;
    http.body = ipp::encode(request(0x0002, named("Photo"), raster));
    std::optional<HTTPResponse> answer;
    operations->handleRequest(http, [&](HTTPResponse response) { answer = std::move(response); });
    EXPECT_FALSE(answer);
    EXPECT_EQ(jobOf(ask(request(0x0002, named("Letter"), "%PDF"))), completed(1));
    ASSERT_TRUE(answer);
    EXPECT_THAT(jobs, SizeIs(2));
    EXPECT_THAT(jobs, Contains(Job{"Photo", "%PDF-converted"}));

    converter.conversionError =
        DocumentError{DocumentError::Kind::conversion, "Unsupported URF: zero pages"};
    http.body = ipp::encode(request(0x0002, {}, raster));
    operations->handleRequest(http, [&](HTTPResponse response) { answer = std::move(response); });
    queues.run();
    EXPECT_EQ(ipp::decode(answer->body)->code,
              code(IPPStatus::clientErrorDocumentFormatNotSupported));
    EXPECT_THAT(log.errors(), ElementsAre("IPPServer: rejecting unrecognized document — URF decode "
                                          "failed: Unsupported URF: zero pages"));
}

TEST_F(IPPOperationsTest, AConversionThatOutlivesThemIsDroppedWithItsAnswer)
{
    HTTPRequest http;
    http.body = ipp::encode(request(0x0002, named("Photo"), raster));
    const auto client = std::make_shared<int>();
    operations->handleRequest(http, [client](const HTTPResponse&) { FAIL() << "nobody waits"; });
    http = {};
    operations.reset();
    queues.run();
    EXPECT_EQ(client.use_count(), 1);
    EXPECT_THAT(jobs, IsEmpty());
    EXPECT_EQ(documents.total(), 0U);
}

TEST_F(IPPOperationsTest, DocumentsOfOneJobAreJoinedInOrder)
{
    const IPPMessage created = ask(request(0x0005, named("Two parts")));
    EXPECT_EQ(jobOf(created), "1 4 job-incoming ipp://desk/print/1");
    EXPECT_EQ(jobOf(ask(request(0x0006, jobPart(ipp::Integer{1}, false), "%PDF one "))),
              completed(1));
    EXPECT_EQ(documents.total(), 9U) << "the document, and not the request around it";
    EXPECT_THAT(jobs, IsEmpty());
    EXPECT_EQ(jobOf(ask(request(0x0006, jobPart(ipp::Integer{1}, true), "two"))), completed(1));
    EXPECT_EQ(documents.total(), 0U);
    EXPECT_THAT(jobs, ElementsAre(Job{"Two parts", "%PDF one two"}));
    ask(request(0x0006, jobPart(ipp::Integer{1}, true), "%PDF again"));
    EXPECT_THAT(jobs, SizeIs(1));
}

TEST_F(IPPOperationsTest, ADocumentIsTheLastUnlessItSaysOtherwise)
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

TEST_F(IPPOperationsTest, AnUnknownJobTakesNoDocument)
{
    ask(request(0x0005));
    EXPECT_EQ(jobOf(ask(request(0x0006, jobPart(ipp::Integer{9}), "%PDF"))), completed(9));
    EXPECT_EQ(jobOf(ask(request(0x0006, jobPart(ipp::EnumValue{1}), "%PDF"))), completed(0));
    EXPECT_EQ(jobOf(ask(request(0x0006, {}, "%PDF"))), completed(0));
    EXPECT_THAT(jobs, IsEmpty());
}

TEST_F(IPPOperationsTest, ARefusedJobIsForgotten)
{
    ask(request(0x0005));
    const IPPMessage refused = ask(request(0x0006, jobPart(ipp::Integer{1}), "GIF8"));
    EXPECT_EQ(refused.code, code(IPPStatus::clientErrorDocumentFormatNotSupported));
    EXPECT_THAT(log.errors(), ElementsAre("IPPServer: send-document for job 1 rejected — "
                                          "Unrecognized document format (first bytes: 47 49 46 "
                                          "38)"));
    ask(request(0x0006, jobPart(ipp::Integer{1}), "%PDF"));
    EXPECT_THAT(jobs, IsEmpty());
}

TEST_F(IPPOperationsTest, AnUnfinishedJobIsDroppedAQuarterOfAnHourAfterItsLatestDocument)
{
    ask(request(0x0005));
    queues.advance(std::chrono::minutes(14));
    ask(request(0x0006, jobPart(ipp::Integer{1}, false), "%PDF"));
    queues.advance(std::chrono::minutes(14));
    EXPECT_EQ(documents.total(), 4U);
    queues.advance(std::chrono::minutes(1));
    EXPECT_EQ(documents.total(), 0U);
    EXPECT_THAT(log.errors(),
                ElementsAre("IPPServer: dropping job 1: timed out waiting for the last document"));
}

TEST_F(IPPOperationsTest, TheOldestOfTooManyUnfinishedJobsIsDropped)
{
    for (int id = 1; id <= 257; ++id) ask(request(0x0005, named(std::to_string(id))));
    EXPECT_THAT(log.errors(), ElementsAre(HasSubstr("dropping job 1:")));
    ask(request(0x0006, jobPart(ipp::Integer{1}), "%PDF"));
    ask(request(0x0006, jobPart(ipp::Integer{2}), "%PDF"));
    EXPECT_THAT(jobs, ElementsAre(Job{"2", "%PDF"}));
}

TEST_F(IPPOperationsTest, AnUnfinishedJobThatGrowsTooLargeIsRefused)
{
    PendingJobs pending(*queues.queue("ipp.server"), log, {.bytes = 10 + 2 * 256});
    pending.open(1, "a");
    pending.open(2, "b");
    EXPECT_EQ(pending.append(2, Data::copying("123456")), PendingJobs::Appended::done);
    EXPECT_EQ(pending.append(2, Data::copying("789")), PendingJobs::Appended::done);
    EXPECT_FALSE(pending.take(1)) << "it had to make room";
    EXPECT_EQ(pending.append(2, Data::copying("0")), PendingJobs::Appended::tooLarge);
    EXPECT_EQ(pending.append(2, Data::copying("0")), PendingJobs::Appended::unknownJob);
}

TEST_F(IPPOperationsTest, OtherOperationsAnswerWithoutDoingAnything)
{
    struct Case {
        std::uint16_t operation;
        IPPStatus status;
        std::string name;
        std::string job;
    };
    const std::vector<Case> cases = {
        {0x0004, IPPStatus::successfulOk, "validateJob", "none"},
        {0x0008, IPPStatus::successfulOk, "cancelJob", "none"},
        {0x0009, IPPStatus::successfulOk, "getJobAttributes", completed(1)},
        {0x000A, IPPStatus::successfulOk, "getJobs", "none"},
        {0x0003, IPPStatus::serverErrorOperationNotSupported, "0x3", "none"},
        {0x4ABC, IPPStatus::serverErrorOperationNotSupported, "0x4abc", "none"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const IPPMessage response =
            ask(request(each.operation, jobPart(ipp::Integer{7}), "%PDF never printed"));
        EXPECT_EQ(response.code, code(each.status));
        EXPECT_EQ(jobOf(response), each.job);
        EXPECT_THAT(log.lines().back(), StartsWith("IPPServer: op=" + each.name + " reqID=77"));
    }
    EXPECT_THAT(jobs, IsEmpty());
}

} // namespace
} // namespace korvane
