#include "document/OCR.h"

#include "document/PageImage.h"
#include "support/FakeDocuments.h"
#include "support/RecordingLog.h"

#include <gmock/gmock.h>

namespace korvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;
using Kind = DocumentError::Kind;

class OCRTest : public testing::Test {
protected:
    std::vector<OCRPageResult> recognize(double dpi = 200)
    {
        return OCR(documents, users, log).recognizePages(*documents.open({}), dpi);
    }

    static DocumentError brokenDown(WorkerFailure::Kind kind)
    {
        return {.kind = Kind::worker, .failure = {.kind = kind, .code = 9}};
    }

    std::vector<std::string> users = {"eng"};
    FakeDocuments documents;
    RecordingLog log;
};

std::string families(int count)
{
    std::string all;
    while (count-- > 0) all += "\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466";
    return all;
}

TEST_F(OCRTest, TakesTheTextOfPagesThatHaveAtLeast24CharactersOfIt)
{
    const std::string blanks = "\n \t\u2028\u3000";
    documents.pages = {
        {.text = blanks + families(24) + blanks, .lines = {"unread"}},
        {.text = blanks + families(23) + blanks, .lines = {"one"}},
        {.text = std::string(30, ' ') + "ten lette" + blanks + "r", .lines = {"two"}}};
    const auto results = recognize();
    ASSERT_EQ(results.size(), 3U);
    EXPECT_EQ(results[0].plainText, families(24));
    EXPECT_FALSE(results[0].pageImage);
    EXPECT_THAT(results[0].spans, IsEmpty());
    EXPECT_EQ(results[1].plainText, "one");
    EXPECT_EQ(results[2].plainText, "two");
    EXPECT_THAT(log.lines(),
                ElementsAre("OCR: page 1 already has a text layer (24 chars); skipping OCR"));
    EXPECT_EQ(documents.layOuts, 2);
}

TEST_F(OCRTest, LaysSpansWhereTheLinesAreAndJoinsTheirTexts)
{
    documents.pages = {{.lines = {"A", "", "B"}}, {}};
    for (const double dpi : {72.0, 720.0}) {
        const auto results = recognize(dpi);
        ASSERT_EQ(results.size(), 2U);
        EXPECT_THAT(results[0].spans, ElementsAre(OCRSpan{"A", {60, 400, 300, 16}},
                                                  OCRSpan{"B", {60, 368, 300, 16}}));
        EXPECT_EQ(results[0].plainText, "A\nB");
        EXPECT_EQ(results[0].pageRect, (PDFRect{0, 0, 600, 800}));
        EXPECT_EQ(results[0].pageImage->width(), 600 * dpi / 72);
        EXPECT_TRUE(results[1].pageImage);
        EXPECT_EQ(results[1].plainText, "");
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(OCRTest, KeepsThePlaceOfAPageThatFailsAndSaysWhy)
{
    documents.pages = {
        {.lines = {"first"}},
        {.renderError = DocumentError{Kind::noPage}},
        {.renderError = brokenDown(WorkerFailure::Kind::timedOut)},
        {.lines = {"?"}, .recognitionError = DocumentError{Kind::recognition, "why"}},
        {.lines = {"?"}, .recognitionError = brokenDown(WorkerFailure::Kind::crashed)},
        {.lines = {"?"}, .work = std::chrono::seconds(121)},
        {.lines = {"last"}}};
    const auto results = recognize();
    ASSERT_EQ(results.size(), 7U);
    const std::string texts[] = {"first", "", "", "", "", "", "last"};
    const bool rendered[] = {true, false, false, true, true, true, true};
    for (std::size_t page = 0; page < 7; ++page) {
        SCOPED_TRACE(page);
        EXPECT_EQ(results[page].plainText, texts[page]);
        EXPECT_EQ(results[page].pageImage != nullptr, rendered[page]);
        EXPECT_EQ(results[page].pageRect.width, 600);
    }
    EXPECT_THAT(
        log.errors(),
        UnorderedElementsAre("OCR: page 3 could not be rendered: the worker took too long",
                             "OCR: Vision perform failed: why",
                             "OCR: Vision perform failed: the page took longer than two minutes",
                             "OCR: Vision perform failed: the worker crashed with signal 9"));
}

TEST_F(OCRTest, GivesNothingForPagesThatCannotBeRead)
{
    documents.pages.resize(100);
    documents.readError = DocumentError{Kind::notReadable};
    EXPECT_THAT(recognize(), IsEmpty());
    EXPECT_THAT(log.errors(), ElementsAre("OCR: pages could not be read: the document is "
                                          "damaged or not a PDF"));
    documents.readError.reset();
    log.clear();
    documents.pages.resize(5001);
    EXPECT_EQ(recognize().size(), 5001U);
    EXPECT_THAT(log.lines(), ElementsAre("OCR: 5001 pages are too many to recognise"));
    documents.pages.clear();
    log.clear();
    EXPECT_THAT(recognize(), IsEmpty());
    EXPECT_THAT(log.lines(), ElementsAre("OCR: the document has no pages"));
    EXPECT_EQ(documents.layOuts, 0);
}

TEST_F(OCRTest, KeepsABoundedAmountOfText)
{
    documents.pages.assign(40, {.text = std::string(1 << 20, 'x')});
    std::size_t kept = 0;
    for (const OCRPageResult& result : recognize()) {
        kept += result.plainText.size();
    }
    EXPECT_EQ(kept, std::size_t{8} << 20);
    EXPECT_EQ(documents.layOuts, 0);
}

TEST_F(OCRTest, IsSilentWhenTheAgentEnds)
{
    const DocumentError ending = brokenDown(WorkerFailure::Kind::stopped);
    documents.pages = {{.renderError = ending}, {.lines = {"?"}, .recognitionError = ending}};
    EXPECT_EQ(recognize().size(), 2U);
    documents.readError = ending;
    EXPECT_EQ(recognize().size(), 2U);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(OCRTest, ReadsAPageInTheLanguageAndPositionThatFits)
{
    const std::vector<std::string> lines(10, "words");
    struct Case {
        const char* name;
        FakePage page;
        std::string user;
        std::map<std::string, int> linesRead;
    };
    const Case cases[] = {
        {"the user's own, read once", {.lines = lines}, "eng", {{"eng", 10}}},
        {"German",
         {.lines = lines, .language = "deu"},
         "eng",
         {{"deu", 10}, {"eng", 4}, {"fra", 4}}},
        {"English", {.lines = lines}, "fra", {{"deu", 4}, {"eng", 10}, {"fra", 4}}},
        {"upside down", {.lines = lines, .turns = 2}, "eng", {{"eng", 14}}},
        {"sideways",
         {.lines = lines, .language = "fra", .turns = 1},
         "eng",
         {{"deu", 4}, {"eng", 8}, {"fra", 10}}},
        {"another script",
         {.lines = lines, .language = "rus", .script = "Cyrillic"},
         "eng",
         {{"eng", 4}, {"rus", 10}}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        documents.pages = {each.page};
        documents.linesRead.clear();
        users = {each.user};
        const OCRPageResult page = recognize().at(0);
        EXPECT_EQ(page.spans.size(), 10U);
        for (const OCRSpan& span : page.spans) EXPECT_EQ(span.text, "words");
        EXPECT_EQ(page.readingTurns, each.page.turns);
        EXPECT_EQ(documents.linesRead, each.linesRead);
    }
}

TEST_F(OCRTest, PassesOverALanguageWhoseDataIsDamaged)
{
    documents.pages = {{.lines = {"Wort"}, .language = "deu"}};
    documents.damaged = {"fra"};
    EXPECT_EQ(recognize().at(0).plainText, "Wort");
    documents.damaged = {"eng"};
    EXPECT_EQ(recognize().at(0).plainText, "Wort");
    documents.damaged = {"deu", "eng", "fra", "rus"};
    EXPECT_EQ(recognize().at(0).plainText, "");
    EXPECT_THAT(log.errors(), ElementsAre("OCR: Vision perform failed: no engine"));
}

} // namespace
} // namespace korvane
