#include "document/JobPipeline.h"

#include "document/FileNaming.h"
#include "document/TextSummary.h"
#include "support/FakeDocuments.h"
#include "support/ManualClock.h"
#include "support/ManualQueues.h"
#include "support/RecordingLog.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace korvane {
namespace {

std::string families(int count)
{
    std::string all;
    while (count-- > 0) all += "\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466";
    return all;
}

TEST(FileNaming, MakesAnyJobNameAPartOfAFileName)
{
    const std::pair<std::string, std::string> cases[] = {
        {R"(/:\?%*|"<>)", "__________"},
        {"../a", ".._a"},
        {" \t\n trimmed\u3000\u2029", "trimmed"},
        {"", "Print Job"},
        {" \n ", "Print Job"},
        {"Zo\u0308e \u4F60\x01", "Zo\u0308e \u4F60\x01"}};
    for (const auto& [jobName, sanitized] : cases) EXPECT_EQ(sanitizedJobName(jobName), sanitized);
    EXPECT_EQ(sanitizedJobName(std::string_view("before\0after", 12)), "before");
    EXPECT_EQ(sanitizedJobName(std::string(79, 'x') + " tail"), std::string(79, 'x') + " ");
    EXPECT_EQ(sanitizedJobName(families(100)), families(80));
    // 255 bytes are room for nine of these.
    const std::string name = fileName(families(100), ManualClock().now());
    EXPECT_EQ(name.substr(0, name.find(' ')), families(9));
}

TEST(TextSummary, IsOneLineOfAtMostTheLimit)
{
    const std::pair<std::string, std::string> cases[] = {{"", "No text recognized."},
                                                         {" \n\n ", "No text recognized."},
                                                         {"A\n\n\n\nB", "A  B"},
                                                         {"a   b    c", "a  b  c"},
                                                         {"\nDear\nreader\n", "Dear reader"}};
    for (const auto& [text, summary] : cases) EXPECT_EQ(makeSummary(text, 200), summary);
    // Characters of one byte and of many, at the limit and one past it.
    for (const std::string& character : {std::string("x"), families(1)}) {
        const std::string atLimit = families(199) + character;
        EXPECT_EQ(makeSummary(atLimit, 200), atLimit);
        EXPECT_EQ(makeSummary(atLimit + character, 200), atLimit + "…");
    }
}

class JobPipelineTest : public testing::Test {
protected:
    JobPipelineTest() { ::setenv("TZ", "UTC", 1); }

    void process(const std::string& name, const std::string& document)
    {
        pipeline->process(name, Data::copying(document), folder.path());
    }

    /** Keeps the workers' answers back from now on. */
    void holdAnswers()
    {
        documents.deliver = [this](Task answer) { held.push_back(std::move(answer)); };
    }

    void release()
    {
        Task answer = std::move(held.front());
        held.erase(held.begin());
        std::exchange(answer, nullptr)();
        queues.run();
    }

    ManualQueues queues;
    ManualClock clock;
    RecordingLog log;
    FakeDocuments documents;
    TemporaryFolder folder;
    std::vector<CompletedJob> completed;
    std::vector<Task> held;
    OCR ocr{queues, documents, {"eng"}, log};
    std::shared_ptr<JobPipeline> pipeline = std::make_shared<JobPipeline>(
        JobEnvironment{queues, clock, log, documents, ocr, "ann"},
        [this](const CompletedJob& job) { completed.push_back(job); });
};

TEST_F(JobPipelineTest, SavesDocumentsAsTheyCameTheLaterOfOneNameAndSecondInTheFirstsPlace)
{
    documents.openError = DocumentError{DocumentError::Kind::notReadable};
    process("a/b", "%PDF one");
    process("a/b", "%PDF two");
    EXPECT_EQ(folder.entryCount(), 0);
    pipeline.reset();
    queues.run();
    EXPECT_EQ(folder.read("a_b 2025-03-01 140509.pdf"), "%PDF two");
    EXPECT_EQ(folder.entryCount(), 1);
    ASSERT_EQ(completed.size(), 2U);
    EXPECT_EQ(completed[0].pdfURL, folder.path() / "a_b 2025-03-01 140509.pdf");
    EXPECT_EQ(completed[0].jobName, "a/b");
    EXPECT_EQ(completed[0].summary, "No text recognized.");
    const std::string why =
        "JobPipeline: saving without recognition: the document is damaged or not a PDF";
    EXPECT_THAT(log.lines(), testing::ElementsAre(why, why));
    EXPECT_THAT(log.errors(), testing::IsEmpty());
}

TEST_F(JobPipelineTest, LaysTheRecognizedWordsOverTheDocument)
{
    const std::string letter(197, 'x');
    documents.pages = {{.text = letter}, {}, {.lines = {"BC"}}};
    const std::string name = "Minutes " + std::string(100, 'x');
    process(name, "%PDF received");
    queues.run();
    ASSERT_EQ(completed.size(), 1U);
    EXPECT_EQ(completed[0].plainText, letter + "\n\n\n\nBC");
    EXPECT_EQ(completed[0].summary, letter + "  B…") << "it is one character over the limit";
    EXPECT_EQ(completed[0].jobName, name);
    EXPECT_EQ(folder.read(completed[0].pdfURL.filename()), "%PDF-searchable");
    EXPECT_EQ(folder.entryCount(), 1);
    EXPECT_EQ(documents.information, (DocumentInformation{{"Author", "ann"},
                                                          {"Creator", "Korvane"},
                                                          {"ModDate", "D:20250301140509+00'00"},
                                                          {"Subject", "Captured by Korvane"},
                                                          {"Title", name}}));
    ASSERT_EQ(documents.layers.size(), 3U);
    EXPECT_TRUE(documents.layers[0].lines.empty());
    EXPECT_EQ(documents.layers[2].lines.at(0).words.at(0).text, "BC");
}

TEST_F(JobPipelineTest, LeavesADocumentWithoutAnythingRecognizedAsItIs)
{
    documents.pages = {{.text = "A letter that can be copied already."}, {}};
    process("Letter", "%PDF received");
    queues.run();
    EXPECT_EQ(folder.read("Letter 2025-03-01 140509.pdf"), "%PDF received");
    EXPECT_EQ(completed.at(0).summary, "A letter that can be copied already.");
    EXPECT_TRUE(documents.information.empty());
}

TEST_F(JobPipelineTest, SavesWhatItReceivedWhereTheSearchableDocumentCannotBeWritten)
{
    documents.pages = {{.lines = {"Signed in ink"}}};
    documents.writeError = PDFWriteError{PDFWriteError::Kind::sourceIsSigned, ""};
    process("Contract", "%PDF received");
    queues.run();
    EXPECT_EQ(folder.read("Contract 2025-03-01 140509.pdf"), "%PDF received");
    EXPECT_EQ(folder.entryCount(), 1);
    EXPECT_EQ(completed.at(0).plainText, "Signed in ink");
    EXPECT_THAT(log.errors(),
                testing::ElementsAre(testing::StartsWith(
                    "JobPipeline: write failed: The source PDF is digitally signed")));
}

TEST_F(JobPipelineTest, TriesOnceMoreAndThenGivesTheJobUp)
{
    process("Lost", "%PDF");
    std::filesystem::remove_all(folder.path());
    queues.run();
    EXPECT_TRUE(completed.empty());
    EXPECT_THAT(
        log.errors(),
        testing::ElementsAre("JobPipeline: write failed: No such file or directory",
                             "JobPipeline: fallback write also failed: No such file or directory"));
}

TEST_F(JobPipelineTest, WritesWhereFilesMayBeWaitedForAndReportsOnTheMainQueue)
{
    documents.pages = {{.lines = {"word"}}};
    holdAnswers();
    process("Letter", "%PDF received");
    queues.run();
    for (int answer = 0; answer < 4; ++answer) {
        EXPECT_EQ(held.size(), 1U) << "to open, to read, for the languages, to recognize";
        release();
    }
    ASSERT_EQ(held.size(), 1U) << "to write";
    const Task written = std::move(held.front());
    held.clear();
    written();
    const auto file = folder.path() / "Letter 2025-03-01 140509.pdf";
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_TRUE(queues.queue("background")->runWaiting());
    EXPECT_EQ(folder.read(file.filename()), "%PDF-searchable");
    EXPECT_TRUE(completed.empty());
    EXPECT_TRUE(queues.queue("main")->runWaiting());
    EXPECT_EQ(completed.size(), 1U);
}

TEST_F(JobPipelineTest, SavesWhatItReceivedWhenTheAgentEndsMeanwhile)
{
    const DocumentError ending{.kind = DocumentError::Kind::worker,
                               .failure = {.kind = WorkerFailure::Kind::stopped}};
    documents.pages = {{.lines = {"word"}, .recognitionError = ending}};
    process("Recognized", "%PDF one");
    queues.run();
    documents.openError = ending;
    process("Opened", "%PDF two");
    queues.run();
    EXPECT_EQ(folder.read("Recognized 2025-03-01 140509.pdf"), "%PDF one");
    EXPECT_EQ(folder.read("Opened 2025-03-01 140509.pdf"), "%PDF two");
    EXPECT_EQ(completed.size(), 2U);
    EXPECT_THAT(log.lines(), testing::IsEmpty());
}

TEST_F(JobPipelineTest, SavesWhatItReceivedWhenAStepIsDropped)
{
    documents.pages = {{.lines = {"word"}}};
    for (int steps : {0, 1, 4}) {
        holdAnswers();
        process("Letter " + std::to_string(steps), "%PDF received");
        queues.run();
        for (int step = 0; step < steps; ++step) release();
        held.clear();
        queues.run();
        EXPECT_EQ(folder.read("Letter " + std::to_string(steps) + " 2025-03-01 140509.pdf"),
                  "%PDF received");
    }
    EXPECT_EQ(folder.entryCount(), 3);
    EXPECT_EQ(completed.size(), 3U);
}

TEST_F(JobPipelineTest, WorksOnABoundedNumberOfJobsAndOnTheOthersInTheirOrder)
{
    documents.openError = DocumentError{DocumentError::Kind::needsPassword};
    holdAnswers();
    for (int job = 0; job < 66; ++job) process("Job " + std::to_string(job), "%PDF");
    queues.run();
    EXPECT_EQ(held.size(), 64U);
    release();
    EXPECT_EQ(held.size(), 64U);
    EXPECT_EQ(completed.size(), 1U);
    while (!held.empty()) release();
    ASSERT_EQ(completed.size(), 66U);
    EXPECT_EQ(completed[65].jobName, "Job 65");
    EXPECT_EQ(folder.entryCount(), 66);
}

} // namespace
} // namespace korvane
