#include "recognition/OCR.h"

#include "recognition/RequestCoding.h"
#include "support/FakeDocuments.h"
#include "support/ManualQueues.h"
#include "support/RecordingLog.h"

#include <gmock/gmock.h>

namespace korvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using Kind = DocumentError::Kind;
using Results = std::vector<OCRPageResult>;

class OCRTest : public testing::Test {
protected:
    OCR& ocr()
    {
        if (!ocr_) ocr_ = std::make_unique<OCR>(queues, documents, users, log);
        return *ocr_;
    }

    void begin(double dpi = 200)
    {
        results.reset();
        pagesDone = 0;
        ocr().recognizePages(
            std::make_shared<FakeDocument>(documents), dpi, [this] { ++pagesDone; },
            [this](Results found) { results = std::move(found); });
        queues.run();
    }

    Results recognize(double dpi = 200)
    {
        begin(dpi);
        EXPECT_TRUE(results);
        return results.value_or(Results());
    }

    /** Keeps answers back from now on. */
    void holdAnswers()
    {
        documents.deliver = [this](Task answer) { held.push_back(std::move(answer)); };
    }

    void release(std::size_t index)
    {
        const Task answer = std::move(held.at(index));
        held.erase(held.begin() + static_cast<std::ptrdiff_t>(index));
        answer();
        queues.run();
    }

    /** The pages that were recognized. */
    std::vector<std::size_t> recognized() const
    {
        std::vector<std::size_t> pages;
        for (const auto& [page, languages] : documents.trials) pages.push_back(page);
        return pages;
    }

    static DocumentError brokenDown(WorkerFailure::Kind kind)
    {
        return {.kind = Kind::worker, .failure = {.kind = kind, .code = 9}};
    }

    std::vector<std::string> users = {"eng"};
    ManualQueues queues;
    FakeDocuments documents;
    RecordingLog log;
    std::vector<Task> held;
    std::optional<Results> results;
    std::size_t pagesDone = 0;

private:
    std::unique_ptr<OCR> ocr_;
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
    const auto pages = recognize();
    ASSERT_EQ(pages.size(), 3U);
    EXPECT_EQ(pages[0].plainText, families(24));
    EXPECT_FALSE(pages[0].pageImage);
    EXPECT_THAT(pages[0].spans, IsEmpty());
    EXPECT_EQ(pages[1].plainText, "one");
    EXPECT_EQ(pages[2].plainText, "two");
    EXPECT_THAT(log.lines(),
                ElementsAre("OCR: page 1 already has a text layer (24 chars); skipping OCR"));
    EXPECT_THAT(recognized(), ElementsAre(1, 2));
    EXPECT_EQ(pagesDone, 3U);
}

TEST_F(OCRTest, GivesSpansWhereTheLinesAreAndJoinsTheirTexts)
{
    documents.pages = {{.lines = {"A", "B"}}, {}};
    for (const double dpi : {72.0, 720.0}) {
        const auto pages = recognize(dpi);
        ASSERT_EQ(pages.size(), 2U);
        ASSERT_EQ(pages[0].spans.size(), 2U);
        EXPECT_EQ(pages[0].spans[0].text, "A");
        EXPECT_EQ(pages[0].spans[0].rect, (PDFRect{60, 400, 300, 16}));
        EXPECT_EQ(pages[0].spans[0].line.words, (std::vector<TextWord>{{"A", 0, 300}}));
        EXPECT_EQ(pages[0].spans[1].rect, (PDFRect{60, 384, 300, 16}));
        EXPECT_EQ(pages[0].plainText, "A\nB");
        EXPECT_EQ(pages[0].pageRect, (PDFRect{0, 0, 600, 800}));
        EXPECT_EQ(pages[0].pageImage->width, 600 * dpi / 72);
        EXPECT_EQ(documents.resolution, 1.5 * dpi);
        EXPECT_TRUE(pages[1].pageImage);
        EXPECT_EQ(pages[1].plainText, "");
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(OCRTest, ReadsTextInBatchesOneAfterTheOtherAndLoadsNoLanguageForDocumentsWithText)
{
    documents.pages.assign(40, {.text = std::string(24, 'x')});
    holdAnswers();
    begin();
    EXPECT_THAT(documents.reads, ElementsAre(Pair(0, 16)));
    ASSERT_EQ(held.size(), 1U);
    release(0);
    ASSERT_EQ(held.size(), 1U);
    release(0);
    ASSERT_EQ(held.size(), 1U);
    release(0);
    EXPECT_THAT(documents.reads, ElementsAre(Pair(0, 16), Pair(16, 16), Pair(32, 8)));
    EXPECT_EQ(results->size(), 40U);
    EXPECT_EQ(documents.languageRequests, 0);
}

TEST_F(OCRTest, KeepsOnePageMoreThanThereAreWorkersInWork)
{
    documents.pages.resize(5);
    for (FakePage& page : documents.pages) page.lines = {"word"};
    holdAnswers();
    begin();
    release(0); // the text
    release(0); // the languages
    EXPECT_THAT(recognized(), ElementsAre(0, 1, 2));
    EXPECT_EQ(pagesDone, 0U);
    release(2);
    EXPECT_THAT(recognized(), ElementsAre(0, 1, 2, 3));
    for (std::size_t rest = 0; rest < 4; ++rest) {
        EXPECT_FALSE(results);
        EXPECT_EQ(pagesDone, rest + 1);
        release(0);
    }
    ASSERT_EQ(results->size(), 5U);
    for (const OCRPageResult& page : *results) EXPECT_EQ(page.plainText, "word");
}

TEST_F(OCRTest, NamesEveryPageThatFailsAndKeepsItsPlace)
{
    const DocumentError crash = brokenDown(WorkerFailure::Kind::crashed);
    documents.pages = {
        {.lines = {"first"}},
        {.recognitionError = DocumentError{Kind::noPage}},
        {.recognitionError = DocumentError{Kind::notReadable}},
        {.lines = {"?"}, .recognitionError = DocumentError{Kind::recognition, "why"}},
        {.lines = {"?"}, .recognitionError = crash},
        {.lines = {"?"}, .recognitionError = crash},
        {.lines = {"?"}, .recognitionError = brokenDown(WorkerFailure::Kind::overBudget)},
        {.lines = {"late"}, .isComplete = false},
        {.lines = {"?"}, .recognitionError = crash}};
    const auto pages = recognize();
    ASSERT_EQ(pages.size(), 9U);
    const std::string texts[] = {"first", "", "", "", "", "", "", "late", ""};
    const bool rendered[] = {true, false, false, true, false, false, false, true, false};
    for (std::size_t page = 0; page < 9; ++page) {
        SCOPED_TRACE(page);
        EXPECT_EQ(pages[page].plainText, texts[page]);
        EXPECT_EQ(pages[page].pageImage.has_value(), rendered[page]);
        EXPECT_EQ(pages[page].pageRect.width, 600);
    }
    EXPECT_THAT(
        log.lines(),
        ElementsAre("OCR: page 8: time limit reached; 1 lines recognized",
                    "OCR: page 3 could not be rendered: the document is damaged or not a PDF",
                    "OCR: Vision perform failed: page 4: why",
                    "OCR: Vision perform failed: pages 5 to 6: the worker crashed with signal 9",
                    "OCR: Vision perform failed: page 7: too much time was lost to other pages "
                    "of the document",
                    "OCR: Vision perform failed: page 9: the worker crashed with signal 9"));
    EXPECT_EQ(log.errors().size(), 5U);
    EXPECT_EQ(pagesDone, 9U);
    EXPECT_EQ(documents.trials[4].size(), 1U) << "what broke down is not tried in other languages";
}

TEST_F(OCRTest, RecognizesPagesWhoseTextCannotBeRead)
{
    documents.pages.assign(20, {.text = std::string(24, 'x')});
    documents.pages[17] = {.lines = {"scan"},
                           .readError = brokenDown(WorkerFailure::Kind::timedOut)};
    const auto pages = recognize();
    ASSERT_EQ(pages.size(), 20U);
    EXPECT_EQ(pages[17].plainText, "scan");
    EXPECT_EQ(pages[18].plainText, std::string(24, 'x'));
    EXPECT_THAT(documents.reads, ElementsAre(Pair(0, 16), Pair(16, 4), Pair(16, 1), Pair(17, 1),
                                             Pair(18, 1), Pair(19, 1)));
    EXPECT_THAT(log.errors(),
                ElementsAre("OCR: pages could not be read: page 18: the worker took too long"));
}

TEST_F(OCRTest, GivesNothingForDocumentsThatCannotBeRead)
{
    documents.pages.resize(100);
    documents.readError = DocumentError{Kind::notReadable};
    EXPECT_THAT(recognize(), IsEmpty());
    EXPECT_THAT(log.lines(), ElementsAre("OCR: pages could not be read: the document is "
                                         "damaged or not a PDF"));
    documents.readError.reset();
    log.clear();
    documents.pages.clear();
    EXPECT_THAT(recognize(), IsEmpty());
    documents.pages.resize(200'001);
    EXPECT_THAT(recognize(), IsEmpty());
    EXPECT_THAT(log.lines(), ElementsAre("OCR: the document has no pages",
                                         "OCR: 200001 pages are too many to read"));
    EXPECT_THAT(recognized(), IsEmpty());
}

TEST_F(OCRTest, KeepsABoundedAmountOfText)
{
    documents.pages.assign(40, {.text = std::string(1 << 20, 'x')});
    std::size_t kept = 0;
    for (const OCRPageResult& page : recognize()) kept += page.plainText.size();
    EXPECT_EQ(kept, std::size_t{8} << 20);
}

TEST_F(OCRTest, KeepsNoMoreThanAWorkerCanBeSentToWrite)
{
    documents.pages.assign(58, {.lines = {std::string(1 << 20, 'x')}});
    documents.pages.push_back({.lines = std::vector<std::string>(40'000, "x")});
    documents.pages.push_back({.lines = {"end"}});
    requests::WriteDocument writing;
    for (const OCRPageResult& page : recognize()) {
        PageTextLayer& layer = writing.layers.emplace_back();
        for (const OCRSpan& span : page.spans) layer.lines.push_back(span.line);
    }
    ASSERT_EQ(writing.layers.size(), 60U);
    EXPECT_THAT(writing.layers[58].lines, IsEmpty()) << "short words take room, too";
    EXPECT_EQ(results->at(59).plainText, "end");
    EXPECT_THAT(log.errors(), ElementsAre("OCR: page 59 has more text than can be kept"));
    EXPECT_LE(encodeRequest(writing).payload.size(), WorkerMessage::maxPayload);
}

TEST_F(OCRTest, IsSilentWhenTheAgentEnds)
{
    const DocumentError ending = brokenDown(WorkerFailure::Kind::stopped);
    documents.pages.assign(9, {.lines = {"?"}, .recognitionError = ending});
    documents.pages[0] = {.lines = {"first"}};
    EXPECT_EQ(recognize().at(0).plainText, "first");
    EXPECT_EQ(results->size(), 9U);
    EXPECT_LT(documents.trials.size(), 9U) << "no more is asked for";
    documents.languagesError = ending;
    EXPECT_EQ(recognize().size(), 9U);
    documents.readError = ending;
    EXPECT_EQ(recognize().size(), 9U);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(OCRTest, CompletesWithWhatThereIsWhenAnAnswerIsDropped)
{
    documents.pages = {{.lines = {"first"}}, {.lines = {"second"}}};
    holdAnswers();
    begin();
    for (int answer = 0; answer < 3; ++answer) release(0);
    EXPECT_FALSE(results);
    held.clear();
    ASSERT_TRUE(results);
    EXPECT_EQ(results->at(0).plainText, "first");
    EXPECT_EQ(results->at(1).plainText, "");
}

TEST_F(OCRTest, ReadsFurtherPagesInTheLanguageOfTheDocument)
{
    documents.pages.assign(8, {.lines = {"mots"}, .language = "fra", .likelyLanguages = {"fr"}});
    for (const OCRPageResult& page : recognize()) EXPECT_EQ(page.plainText, "mots");
    EXPECT_THAT(documents.trials[0], ElementsAre("eng", "fra"));
    EXPECT_THAT(documents.trials[7], ElementsAre("fra"));
}

TEST_F(OCRTest, ReadsInALanguageOfEarlierDocumentsWhereTheUsersIsNotInstalled)
{
    users = {"ita"};
    documents.pages = {{.lines = {"mots"}, .language = "fra", .likelyLanguages = {"fr"}}};
    recognize();
    EXPECT_THAT(documents.trials[0], ElementsAre("eng", "fra"));
    documents.trials.clear();
    recognize();
    EXPECT_THAT(documents.trials[0], ElementsAre("fra"));
    EXPECT_THAT(log.lines(), ElementsAre("OCR: the data of your language is not installed; install "
                                         "tesseract-ocr-ita to recognize text in it"));
}

TEST_F(OCRTest, SaysOnceThatNoLanguageIsInstalled)
{
    documents.FakeDocumentContent::languages.clear();
    documents.pages = {{.lines = {"word"}}};
    for (int document = 0; document < 2; ++document) EXPECT_EQ(recognize().at(0).plainText, "");
    EXPECT_THAT(log.lines(),
                ElementsAre("OCR: no language data is installed; install tesseract-ocr-eng (or the "
                            "package of your language) to recognize text"));
    EXPECT_EQ(documents.languageRequests, 2) << "it may be installed while the agent runs";
}

TEST_F(OCRTest, NamesThePagesThatHaveNoTextBecauseTheLanguagesAreNotKnown)
{
    documents.languagesError = brokenDown(WorkerFailure::Kind::crashed);
    documents.pages.assign(3, {.lines = {"word"}});
    EXPECT_EQ(recognize().size(), 3U);
    EXPECT_THAT(log.errors(), ElementsAre("OCR: Vision perform failed: pages 1 to 3: the worker "
                                          "crashed with signal 9"));
}

TEST_F(OCRTest, PassesOverALanguageWhoseDataIsDamaged)
{
    documents.pages.assign(5, {.lines = {"Wort"}, .language = "deu"});
    users = {"fra", "deu"};
    documents.damaged = {"fra"};
    for (const OCRPageResult& page : recognize()) EXPECT_EQ(page.plainText, "Wort");
    EXPECT_THAT(documents.trials[0], ElementsAre("fra", "deu"));
    EXPECT_THAT(documents.trials[4], ElementsAre("deu")) << "it is tried once";
    EXPECT_THAT(log.lines(), IsEmpty());
    documents.damaged = {"deu", "eng", "fra", "rus"};
    EXPECT_EQ(recognize().at(0).plainText, "");
    EXPECT_EQ(pagesDone, 5U);
    EXPECT_THAT(log.errors(), ElementsAre("OCR: Vision perform failed: pages 1 to 5: no engine"));
}

} // namespace
} // namespace korvane
