#include "recognition/DocumentRequests.h"

#include "recognition/RequestCoding.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

namespace korvane {
namespace {

using requests::ReadPages;

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

template <typename Answer>
DocumentAnswer<Answer> received(const DocumentAnswer<Answer>& answer)
{
    WireWriter out;
    encodeAnswer(out, answer);
    return decodeAnswer<Answer>(out.message());
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
    EXPECT_EQ(received<PageReading>(reading()).value(), reading());
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
