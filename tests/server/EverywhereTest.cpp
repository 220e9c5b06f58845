#include "ServerFixture.h"
#include "ipp/AttributeBuilders.h"

#include <fmt/format.h>

#include <chrono>
#include <functional>

namespace korvane {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

constexpr std::uint16_t printJob = 0x02, validateJob = 0x04, createJob = 0x05, sendDocument = 0x06,
                        cancelJob = 0x08, getJobAttributes = 0x09, getJobs = 0x0A,
                        getPrinterAttributes = 0x0B, cancelMyJobs = 0x39, closeJob = 0x3B,
                        identifyPrinter = 0x3C;

constexpr std::uint16_t ok = 0x0000, substituted = 0x0001, badRequest = 0x0400,
                        notAuthorized = 0x0403, notPossible = 0x0404, notFound = 0x0406,
                        formatNotSupported = 0x040A, valuesNotSupported = 0x040B,
                        charsetNotSupported = 0x040D, compressionNotSupported = 0x040F,
                        operationNotSupported = 0x0501, versionNotSupported = 0x0503,
                        jobCanceled = 0x0508, multipleDocuments = 0x0509;

/** A printer of IPP Everywhere and its clients. */
class Everywhere : public ServerFixture {
protected:
    void SetUp() override
    {
        profile = PrinterProfile::ippEverywhere;
        startListening();
    }

    static IPPMessage everywhere(std::uint16_t code, std::vector<IPPAttribute> attributes = {},
                                 std::string_view document = {}, std::vector<IPPAttribute> job = {})
    {
        std::vector<IPPAttribute> all = {
            ipp::charset("attributes-charset", {"utf-8"}),
            ipp::naturalLanguage("attributes-natural-language", {"en"}),
            ipp::uri("printer-uri", {"ipp://192.168.1.9:8631/print"}),
            ipp::nameWithoutLang("requesting-user-name", "ann")};
        std::ranges::move(attributes, std::back_inserter(all));
        IPPMessage message = request(code, std::move(all), document);
        if (!job.empty()) message.groups.push_back({IPPTag::jobAttributes, std::move(job)});
        return message;
    }

    IPPMessage askFrom(const std::string& peer, const IPPMessage& message)
    {
        return responseIn(answerTo(post(message), peer));
    }

    IPPMessage ask(const IPPMessage& message) { return askFrom("desk", message); }

    static std::vector<IPPAttribute> forJob(std::int32_t id, std::optional<bool> isLast = {})
    {
        std::vector<IPPAttribute> attributes = {ipp::integer("job-id", {id})};
        if (isLast) attributes.push_back(ipp::boolean("last-document", *isLast));
        return attributes;
    }

    /** The groups of a response in words, an attribute as its first value; of the operation
     *  attributes nothing. */
    static std::string inWords(const IPPMessage& response)
    {
        std::string words = response.code == ok ? "" : fmt::format("{:#06x}", response.code);
        for (std::size_t index = 1; index < response.groups.size(); ++index) {
            words += "|";
            for (const IPPAttribute& attribute : response.groups[index].attributes)
                words += attribute.name + "=" + inWords(attribute.values.at(0)) + " ";
        }
        return words;
    }

    static std::string inWords(const IPPValue& value)
    {
        if (const auto* number = std::get_if<ipp::Integer>(&value))
            return std::to_string(number->value);
        if (const auto* number = std::get_if<ipp::EnumValue>(&value))
            return std::to_string(number->value);
        if (const auto* text = std::get_if<ipp::Text>(&value)) return text->text;
        return "-";
    }

    /** How a job stands to a client: state, reason and message. */
    std::string stateOf(std::int32_t id, const std::string& peer = "desk")
    {
        auto attributes = forJob(id);
        attributes.push_back(ipp::keyword("requested-attributes",
                                          {"job-state", "job-state-reasons", "job-state-message"}));
        return inWords(askFrom(peer, everywhere(getJobAttributes, attributes)));
    }

    /** The ids of the jobs that are listed. */
    std::string listed(std::vector<IPPAttribute> attributes)
    {
        const IPPMessage response = ask(everywhere(getJobs, std::move(attributes)));
        std::string ids;
        for (const IPPAttributeGroup& group : response.groups) {
            for (const IPPAttribute& attribute : group.attributes) {
                if (attribute.name == "job-id") ids += inWords(attribute.values[0]) + " ";
            }
        }
        return response.code == ok ? ids : inWords(response);
    }
};

TEST_F(Everywhere, RequestsAreCheckedBeforeTheyAreCarriedOut)
{
    struct Case {
        std::uint16_t status;
        std::uint16_t operation;
        std::function<void(IPPMessage&)> change;
    };
    const auto set = [](IPPAttribute attribute) {
        return [attribute](IPPMessage& message) {
            auto& all = message.groups[0].attributes;
            const auto found = std::ranges::find(all, attribute.name, &IPPAttribute::name);
            found == all.end() ? all.push_back(attribute) : void(*found = attribute);
        };
    };
    const auto wanting = [&](IPPAttribute attribute, bool fidelity) {
        return [attribute, fidelity, set](IPPMessage& message) {
            set(ipp::boolean("ipp-attribute-fidelity", fidelity))(message);
            message.groups.push_back({IPPTag::jobAttributes, {attribute}});
        };
    };
    const auto remove = [](std::size_t index) {
        return [index](IPPMessage& message) {
            auto& all = message.groups[0].attributes;
            all.erase(all.begin() + static_cast<std::ptrdiff_t>(index));
        };
    };
    const Case cases[] = {
        {ok, validateJob, [](auto&) {}},
        {badRequest, validateJob, [](auto& message) { message.requestID = 0; }},
        {versionNotSupported, validateJob, [](auto& message) { message.versionMajor = 0; }},
        {versionNotSupported, validateJob, [](auto& message) { message.versionMajor = 3; }},
        {ok, validateJob, [](auto& message) { message.versionMajor = 2; }},
        {operationNotSupported, 0x03, [](auto&) {}},
        {badRequest, validateJob, [](auto& message) { message.groups.clear(); }},
        {badRequest, validateJob, remove(0)},
        {badRequest, validateJob, remove(1)},
        {badRequest, validateJob, remove(2)},
        {badRequest, validateJob,
         [](auto& message) {
             std::swap(message.groups[0].attributes[0], message.groups[0].attributes[1]);
         }},
        {badRequest, validateJob,
         [](auto& message) { message.groups.push_back(message.groups[0]); }},
        {badRequest, validateJob,
         [](auto& message) {
             message.groups[0].attributes.push_back(message.groups[0].attributes[2]);
         }},
        {charsetNotSupported, validateJob, set(ipp::charset("attributes-charset", {"utf-16"}))},
        {ok, validateJob, set(ipp::charset("attributes-charset", {"US-ASCII"}))},
        {badRequest, validateJob, set(ipp::keyword("printer-uri", {"ipp://desk/print"}))},
        {badRequest, validateJob, set(ipp::uri("printer-uri", {"ipp://a/print", "ipp://b/print"}))},
        {notFound, validateJob, set(ipp::uri("printer-uri", {"ipp://desk/another"}))},
        {ok, validateJob, set(ipp::mimeMediaType("document-format", {"Application/PDF"}))},
        {ok, validateJob, set(ipp::mimeMediaType("document-format", {"application/octet-stream"}))},
        {formatNotSupported, validateJob,
         set(ipp::mimeMediaType("document-format", {"text/plain"}))},
        {ok, validateJob, set(ipp::keyword("compression", {"gzip"}))},
        {compressionNotSupported, printJob, set(ipp::keyword("compression", {"compress"}))},
        {substituted, validateJob, wanting(ipp::keyword("sides", {"two-sided-long-edge"}), false)},
        {valuesNotSupported, printJob,
         wanting(ipp::keyword("sides", {"two-sided-long-edge"}), true)},
        {valuesNotSupported, createJob, wanting(ipp::integer("job-stapling", {1}), true)},
        {ok, validateJob, wanting(ipp::keyword("media", {"custom_card_90x50mm"}), true)},
        {valuesNotSupported, validateJob,
         wanting(ipp::keyword("media", {"custom_wall_9x9mm"}), true)},
        {ok, validateJob, wanting(ipp::integer("copies", {1}), true)},
        {badRequest, getJobAttributes, [](auto&) {}},
        {notFound, getJobAttributes, set(ipp::integer("job-id", {1}))},
        {notFound, cancelJob, set(ipp::uri("job-uri", {"ipp://desk/print/1"}))},
        {notFound, closeJob, set(ipp::uri("job-uri", {"ipp://desk/other/1x"}))},
        {badRequest, getJobs, set(ipp::integer("limit", {0}))},
        {valuesNotSupported, getJobs, set(ipp::keyword("which-jobs", {"proof-print"}))},
        {valuesNotSupported, identifyPrinter, set(ipp::keyword("identify-actions", {"sound"}))},
        {badRequest, printJob, [](auto& message) { message.documentData = {}; }},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(&each - cases);
        IPPMessage message = everywhere(each.operation, {}, "%PDF");
        each.change(message);
        const IPPMessage response = ask(message);
        EXPECT_EQ(response.code, each.status) << inWords(response);
        EXPECT_EQ(response.requestID, message.requestID);
        const std::uint8_t major = message.versionMajor;
        EXPECT_EQ(response.versionMajor, major == 0 ? 1 : std::min<int>(major, 2));
        if (each.status == valuesNotSupported || each.status == substituted ||
            each.status == formatNotSupported) {
            ASSERT_THAT(response.groups, SizeIs(2));
            EXPECT_EQ(response.groups[1].tag, IPPTag::unsupportedAttrs);
        }
    }
    EXPECT_THAT(jobs, IsEmpty());
    EXPECT_THAT(identified, IsEmpty());
    EXPECT_EQ(listed({ipp::keyword("which-jobs", {"all"})}), "");
}

TEST_F(Everywhere, AJobIsPendingThenProcessingThenCompleted)
{
    EXPECT_EQ(inWords(ask(everywhere(
                  printJob, named("Letter"), "%PDF letter",
                  {ipp::keyword("media", {"iso_a5_148x210mm"}), ipp::integer("copies", {7})}))),
              "0x0001|copies=7 |job-uri=ipp://desk/print/1 job-id=1 job-state=3 "
              "job-state-reasons=none job-state-message= ");
    EXPECT_THAT(jobs, ElementsAre(TakenJob{"Letter", "%PDF letter"}));
    const auto printer = [&] {
        return inWords(ask(everywhere(
            getPrinterAttributes,
            {ipp::keyword("requested-attributes", {"printer-state", "queued-job-count"})})));
    };
    EXPECT_EQ(printer(), "|printer-state=3 queued-job-count=1 ");
    clock.time += std::chrono::seconds(5);
    printJobs[0]->process(12);
    printJobs[0]->completePage();
    printJobs[0]->completePage();
    EXPECT_EQ(stateOf(1), "|job-state=5 job-state-reasons=job-printing "
                          "job-state-message=Recognizing page 3 of 12 ");
    EXPECT_EQ(printer(), "|printer-state=4 queued-job-count=1 ");
    EXPECT_THAT(answerTo("HEAD /?x HTTP/1.1\r\n\r\n"),
                testing::AllOf(HasSubstr("Content-Length: 4\r\n"), HasSubstr("nosniff\r\n"),
                               testing::EndsWith("\r\n\r\n")));
    clock.time += std::chrono::seconds(5);
    printJobs[0]->complete();
    const std::string whole = inWords(ask(everywhere(getJobAttributes, forJob(1))));
    for (const char* part :
         {"job-state=9 job-state-reasons=job-completed-successfully", "job-name=Letter ",
          "job-originating-user-name=ann ", "time-at-creation=1 ", "time-at-processing=5 ",
          "time-at-completed=10 ", "job-impressions=12 job-impressions-completed=12",
          "job-k-octets=1 number-of-documents=1 ", "media=iso_a5_148x210mm "}) {
        EXPECT_THAT(whole, HasSubstr(part));
    }
    EXPECT_THAT(whole, Not(HasSubstr("copies")));
    EXPECT_EQ(printer(), "|printer-state=3 queued-job-count=0 ");
    EXPECT_THAT(answerTo("GET / HTTP/1.1\r\n\r\n"), testing::EndsWith("\r\n\r\nidle"));
    EXPECT_THAT(answerTo("GET /job/1 HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 404 Not Found\r\n"));
}

TEST_F(Everywhere, AJobIsCanceledWhileItsDocumentArrivesByItsOwnHostOnly)
{
    const std::string message = post(everywhere(printJob, named("Secret"), "%PDF secret"));
    const auto client = connectSending(message.substr(0, message.size() - 3));
    for (const char* peer : {"desk", "phone"}) {
        const std::string seen = inWords(askFrom(peer, everywhere(getJobAttributes, forJob(1))));
        EXPECT_THAT(seen, HasSubstr("job-id=1 job-state=3 job-state-reasons=job-incoming "));
        const bool isOwner = peer == std::string("desk");
        for (const char* hidden : {"Secret", "ann", "octets", "document", "compression"})
            EXPECT_EQ(seen.find(hidden) != std::string::npos, isOwner) << peer << hidden;
        EXPECT_EQ(askFrom(peer, everywhere(getJobs, {ipp::boolean("my-jobs", true)})).groups.size(),
                  isOwner ? 2U : 1U);
    }
    for (const std::uint16_t operation : {cancelJob, closeJob, sendDocument})
        EXPECT_EQ(askFrom("phone", everywhere(operation, forJob(1, true))).code, notAuthorized);
    EXPECT_EQ(client->answer, "");
    EXPECT_EQ(ask(everywhere(cancelJob, forJob(1))).code, ok);
    EXPECT_EQ(responseIn(client->answer).code, jobCanceled) << "at once";
    EXPECT_EQ(stateOf(1), "|job-state=7 job-state-reasons=job-canceled-by-user "
                          "job-state-message= ");
    EXPECT_EQ(ask(everywhere(cancelJob, forJob(1))).code, notPossible);
    client->clientSends(message.substr(message.size() - 3));
    queues.run();
    EXPECT_THAT(jobs, IsEmpty());
    EXPECT_EQ(spool.jobCount(), 0);
}

TEST_F(Everywhere, AJobIsCanceledWhileItsDocumentIsConverted)
{
    Task converted;
    converter.deliver = [&](const Task& answer) { converted = answer; };
    const auto client = connectSending(
        post(everywhere(printJob, named("Photo"), std::string_view("UNIRAST\0", 8))));
    queues.run();
    EXPECT_EQ(ask(everywhere(cancelMyJobs)).code, ok);
    EXPECT_EQ(responseIn(client->answer).code, jobCanceled);
    converted();
    queues.run();
    EXPECT_THAT(jobs, IsEmpty());
    EXPECT_EQ(spool.jobCount(), 0);
    EXPECT_THAT(log.errors(), IsEmpty());
}

TEST_F(Everywhere, AJobEndsWhoseDocumentIsRefusedOrDoesNotArriveWhole)
{
    EXPECT_EQ(ask(everywhere(printJob, named("Poster"), "%!PS")).code, formatNotSupported);
    EXPECT_THAT(stateOf(1), StartsWith("|job-state=8 job-state-reasons=unsupported-document-format "
                                       "job-state-message=Unrecognized document format"));
    EXPECT_THAT(refused, SizeIs(1));
    const std::string message = post(everywhere(printJob, named("Lost"), "%PDF lost"));
    const auto lost = connectSending(message.substr(0, message.size() - 3));
    lost->clientFinishes();
    queues.run();
    EXPECT_EQ(stateOf(2), "|job-state=8 job-state-reasons=aborted-by-system "
                          "job-state-message=The document did not arrive whole ");
    EXPECT_EQ(ask(everywhere(createJob)).code, ok);
    const std::string part = post(everywhere(sendDocument, forJob(3, true), "%PDF lost"));
    connectSending(part.substr(0, part.size() - 3))->clientFinishes();
    queues.run();
    EXPECT_EQ(ask(everywhere(sendDocument, forJob(3, true), "%PDF again")).code, ok);
    EXPECT_EQ(ask(everywhere(createJob)).code, ok);
    queues.advance(std::chrono::minutes(15));
    EXPECT_EQ(stateOf(4), "|job-state=8 job-state-reasons=aborted-by-system "
                          "job-state-message=Timed out waiting for the document ");
    ASSERT_THAT(jobs, SizeIs(1));
    EXPECT_EQ(jobs[0].document, "%PDF again");
}

TEST_F(Everywhere, AJobHasOneDocumentAndIsClosedByTheLastOrByItself)
{
    const auto send = [&](std::int32_t id, bool isLast, const char* document) {
        return ask(everywhere(sendDocument, forJob(id, isLast), document)).code;
    };
    for (int id = 1; id <= 6; ++id) EXPECT_EQ(ask(everywhere(createJob, named("Job"))).code, ok);
    EXPECT_EQ(stateOf(1), "|job-state=4 job-state-reasons=job-incoming job-state-message= ");
    EXPECT_EQ(ask(everywhere(sendDocument, forJob(1), "%PDF")).code, badRequest);
    EXPECT_EQ(send(1, true, "%PDF 1"), ok);
    EXPECT_EQ(send(1, true, "%PDF 1"), notPossible);
    EXPECT_EQ(send(2, false, "%PDF 2"), ok);
    EXPECT_EQ(send(2, true, "%PDF more"), multipleDocuments);
    EXPECT_EQ(send(2, true, ""), ok);
    EXPECT_EQ(send(3, false, "%PDF 3"), ok);
    EXPECT_EQ(ask(everywhere(closeJob, forJob(3))).code, ok);
    EXPECT_EQ(ask(everywhere(closeJob, forJob(3))).code, notPossible);
    EXPECT_EQ(ask(everywhere(closeJob, forJob(4))).code, ok);
    EXPECT_THAT(stateOf(4), HasSubstr("There was no document"));
    EXPECT_EQ(ask(everywhere(cancelJob, {ipp::uri("job-uri", {"ipp://desk/print/5"})})).code, ok);
    EXPECT_EQ(send(5, true, "%PDF 5"), jobCanceled);
    EXPECT_EQ(send(7, true, "%PDF 7"), notFound);
    const auto fromAnotherAddress = everywhere(sendDocument, forJob(6, false), "%PDF 6");
    EXPECT_EQ(askFrom("temporary", fromAnotherAddress).code, ok);
    EXPECT_EQ(askFrom("temporary", fromAnotherAddress).code, notAuthorized) << "it has come";
    EXPECT_EQ(send(6, true, ""), ok);
    EXPECT_THAT(jobs, ElementsAre(TakenJob{"Job", "%PDF 1"}, TakenJob{"Job", "%PDF 2"},
                                  TakenJob{"Job", "%PDF 3"}, TakenJob{"Job", "%PDF 6"}));
}

TEST_F(Everywhere, JobsAreListedAsTheyAreAskedFor)
{
    for (const char* peer : {"desk", "desk", "phone", "desk", "desk"})
        askFrom(peer, everywhere(printJob, named("Job"), "%PDF"));
    for (const std::size_t ended : {3U, 1U}) {
        clock.time += std::chrono::seconds(1);
        printJobs[ended]->complete();
    }
    const auto which = [](const char* some) { return ipp::keyword("which-jobs", {some}); };
    EXPECT_EQ(listed({}), "1 3 5 ");
    EXPECT_EQ(listed({which("not-completed"), ipp::integer("limit", {2})}), "1 3 ");
    EXPECT_EQ(listed({which("completed")}), "2 4 ") << "the latest first";
    EXPECT_EQ(listed({which("all")}), "1 3 5 2 4 ");
    EXPECT_EQ(listed({which("all"), ipp::boolean("my-jobs", true)}), "1 5 2 4 ");
    EXPECT_EQ(listed({ipp::integer("job-ids", {2, 5, 9})}), "5 2 ");
    EXPECT_EQ(inWords(ask(everywhere(getJobs, {ipp::integer("limit", {1})}))),
              "|job-uri=ipp://desk/print/1 job-id=1 ");
    EXPECT_EQ(ask(everywhere(cancelMyJobs, {ipp::integer("job-ids", {1, 3})})).code, notAuthorized);
    EXPECT_EQ(ask(everywhere(cancelMyJobs, {ipp::integer("job-ids", {1, 2})})).code, notPossible);
    EXPECT_EQ(listed({}), "1 3 5 ");
    EXPECT_TRUE(printJobs[4]->publish());
    EXPECT_EQ(ask(everywhere(cancelMyJobs, {ipp::integer("job-ids", {5})})).code, notPossible);
    EXPECT_EQ(ask(everywhere(cancelMyJobs)).code, ok);
    EXPECT_EQ(listed({}), "3 5 ");
}

TEST_F(Everywhere, TheLatestHundredEndedJobsAreKnownWhicheverProfileTookThem)
{
    profile = PrinterProfile::basic;
    EXPECT_EQ(jobOf(ServerFixture::ask(request(printJob, named("Old"), "%PDF"))), completed(1));
    profile = PrinterProfile::ippEverywhere;
    for (int id = 2; id <= 103; ++id) {
        EXPECT_EQ(ask(everywhere(printJob, named("Job"), "%PDF")).code, ok);
        if (id > 2) printJobs.back()->complete();
    }
    printJobs.front()->complete();
    EXPECT_EQ(listed({}), "2 ");
    EXPECT_EQ(stateOf(1), "0x0406");
    EXPECT_THAT(stateOf(2), StartsWith("|job-state=3 ")) << "it has not ended";
    EXPECT_EQ(stateOf(3), "0x0406");
    EXPECT_THAT(stateOf(4), StartsWith("|job-state=9 "));
}

TEST_F(Everywhere, ThePrinterShowsItself)
{
    EXPECT_EQ(ask(everywhere(identifyPrinter,
                             {ipp::keyword("identify-actions", {"sound", "display"}),
                              ipp::textWithoutLang("message", "Room 4 " + std::string(300, '.'))}))
                  .code,
              ok);
    ASSERT_THAT(identified, SizeIs(1));
    EXPECT_THAT(identified[0], testing::AllOf(StartsWith("Room 4"), SizeIs(127)));
    EXPECT_THAT(log.lines().back(), StartsWith("IPPServer: op=identifyPrinter reqID=77"));
}

} // namespace
} // namespace korvane
