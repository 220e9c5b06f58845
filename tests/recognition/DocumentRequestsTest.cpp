#include "recognition/DocumentRequests.h"

#include "recognition/RequestCoding.h"
#include "support/TestDocument.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

namespace korvane {
namespace {

using requests::codeOf, requests::ListLanguages, requests::ReadPages, requests::RecognizePage,
    requests::ReleaseDocument, requests::WriteDocument;
using Kind = DocumentError::Kind;

PageReading reading()
{
    return {.bitmap = {1700, 2200, 200},
            .lines = {{.x = 72,
                       .y = 700.5,
                       .angle = -179.5,
                       .ascent = 9,
                       .descent = 2,
                       .words = {{"Grüße", 0, 30}, {"aus", 35, 20}}},
                      {.words = {{"Wien", 0, 25}}}},
            .confidence = 91.5,
            .words = 3,
            .dictionaryWords = 2,
            .script = "Latin",
            .likelyLanguages = {"de", "nl"},
            .isComplete = false};
}

TEST(DocumentRequests, ReachTheWorkerAsTheyWereMade)
{
    const SharedDescriptor file = unnamedFile();
    const requests::SourceDocument document{.number = 7, .content = {.file = file, .length = 9}};
    const auto sent = [&]<typename Request>(const Request& request) {
        WorkerMessage message = encodeRequest(request);
        EXPECT_EQ(message.code, codeOf<Request>());
        WireReader in(std::move(message));
        auto received = decodeRequest<Request>(in);
        EXPECT_TRUE(received);
        if constexpr (requires { received->document; }) {
            EXPECT_EQ(received->document.number, 7U);
            EXPECT_EQ(received->document.content.file, file);
            EXPECT_EQ(received->document.content.length, 9U);
        }
        return std::move(received).value_or(Request());
    };
    sent(ListLanguages());
    sent(requests::OpenDocument{document});
    const auto pages = sent(ReadPages{document, 16, 5});
    EXPECT_EQ(pages.first, 16U);
    EXPECT_EQ(pages.count, 5U);
    const auto page = sent(RecognizePage{document, 3, 299.5, "deu"});
    EXPECT_EQ(page.page, 3U);
    EXPECT_EQ(page.resolution, 299.5);
    EXPECT_EQ(page.language, "deu");
    const SharedDescriptor output = unnamedFile();
    const std::vector<PageTextLayer> layers{{reading().lines}, {}};
    const DocumentInformation information{{"Author", "Ann"}, {"Title", "\xFF"}};
    const auto writing = sent(WriteDocument{document, layers, information, output});
    EXPECT_EQ(writing.layers, layers);
    EXPECT_EQ(writing.information, information);
    EXPECT_EQ(writing.output, output);
    const auto conversion = sent(requests::ConvertRaster{document.content, output});
    EXPECT_EQ(conversion.raster.file, file);
    EXPECT_EQ(conversion.raster.length, 9U);
    EXPECT_EQ(conversion.output, output);
    sent(ReleaseDocument());
}

template <typename Answer>
DocumentAnswer<Answer> received(const DocumentAnswer<Answer>& answer)
{
    WireWriter out;
    encodeAnswer(out, answer);
    return decodeAnswer<Answer>(out.message());
}

TEST(DocumentAnswers, ReachTheAgentAsTheyWereMade)
{
    const ListLanguages::Answer languages{{"deu", "eng"}};
    EXPECT_EQ(received<ListLanguages::Answer>(languages)->languages, languages.languages);
    EXPECT_EQ(received<requests::OpenDocument::Answer>({{.pageCount = 12}})->pageCount, 12U);
    const std::vector<PageInfo> pages{{{-100, 50.5, 612, 792}, "Grüße\n", false}, {}};
    EXPECT_EQ(received<ReadPages::Answer>({{pages}})->pages, pages);
    EXPECT_EQ(received<PageReading>(reading()).value(), reading());
    const PDFWriteError error{PDFWriteError::Kind::cannotWrite, "why"};
    EXPECT_EQ(received<WriteDocument::Answer>({{error}})->error, error);
    EXPECT_EQ(received<WriteDocument::Answer>({})->error, std::nullopt);
    EXPECT_EQ(received<requests::ConvertRaster::Answer>({{.length = 99}})->length, 99U);
    EXPECT_TRUE(received<requests::Nothing>({}));
    for (const Kind kind : {Kind::notReadable, Kind::needsPassword, Kind::noPage, Kind::recognition,
                            Kind::conversion, Kind::cannotWrite}) {
        const auto failed = received<PageReading>(
            failure(DocumentError{.kind = kind, .detail = "why", .system = {28}}));
        EXPECT_EQ(failed.error().kind, kind);
        EXPECT_EQ(failed.error().detail, "why");
        EXPECT_EQ(failed.error().system, SystemError{28});
    }
}

TEST(DocumentAnswers, AreInvalidWhenAValueIsOutOfItsRange)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinite = std::numeric_limits<double>::infinity();
    struct Case {
        const char* name;
        std::function<void(PageReading&)> change;
    };
    const Case cases[] = {
        {"a bitmap that is too large", [](PageReading& r) { r.bitmap.width = 200'000'000; }},
        {"a bitmap whose size overflows", [](PageReading& r) { r.bitmap.height = 1 << 30; }},
        {"an infinite resolution", [=](PageReading& r) { r.bitmap.resolution = infinite; }},
        {"a line at NaN", [=](PageReading& r) { r.lines[0].x = nan; }},
        {"a line far from any page", [](PageReading& r) { r.lines[0].y = -2e9; }},
        {"a line without words", [](PageReading& r) { r.lines[1].words.clear(); }},
        {"a word without text", [](PageReading& r) { r.lines[1].words[0].text.clear(); }},
        {"a word that is not UTF-8", [](PageReading& r) { r.lines[1].words[0].text = "\xFF"; }},
        {"more words than a page has room for",
         [](PageReading& r) { r.lines[1].words.resize(50'001, {.text = "a"}); }},
        {"more text than a page has room for",
         [](PageReading& r) { r.lines[1].words.resize(70, {.text = std::string(16'000, 'a')}); }},
        {"a confidence above 100", [](PageReading& r) { r.confidence = 100.5; }},
        {"more dictionary words than words", [](PageReading& r) { r.dictionaryWords = 4; }},
        {"a language of a kilobyte",
         [](PageReading& r) { r.likelyLanguages[1] = std::string(1024, 'a'); }},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        PageReading changed = reading();
        each.change(changed);
        const auto answer = received<PageReading>(changed);
        ASSERT_FALSE(answer);
        EXPECT_EQ(answer.error().failure.kind, WorkerFailure::Kind::invalidResponse);
    }
}

TEST(DocumentAnswers, AreInvalidWhenTheyAreNoAnswer)
{
    struct Case {
        const char* name;
        std::function<void(WireWriter&)> write;
    };
    const Case cases[] = {
        {"nothing at all", [](WireWriter&) {}},
        {"neither success nor failure", [](WireWriter& out) { out.u8(2); }},
        {"an error of the agent's own",
         [](WireWriter& out) { out.u8(0), out.u8(6), out.string(""), out.i32(0); }},
        {"an error that is not UTF-8",
         [](WireWriter& out) { out.u8(0), out.u8(0), out.string("\xFF"), out.i32(0); }},
        {"more pages than fit", [](WireWriter& out) { out.u8(1), out.count(1'000'000); }},
        {"a page that is cut short", [](WireWriter& out) { out.u8(1), out.count(1), out.f64(0); }},
        {"more than an answer", [](WireWriter& out) { out.u8(1), out.count(0), out.u8(0); }},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        WireWriter out;
        each.write(out);
        const auto answer = decodeAnswer<ReadPages::Answer>(out.message());
        ASSERT_FALSE(answer);
        EXPECT_EQ(answer.error().description(), "invalid response from worker");
    }
}

} // namespace
} // namespace korvane
