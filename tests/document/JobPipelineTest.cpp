#include "document/JobPipeline.h"

#include "document/FileNaming.h"
#include "document/TextSummary.h"
#include "support/FakeDocuments.h"
#include "support/ManualClock.h"
#include "support/ManualQueues.h"
#include "support/RecordingLog.h"
#include "support/TemporaryFolder.h"
#include "support/TestSpool.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

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

    /** What becomes of the job is told there. */
    std::shared_ptr<PrintJob> process(std::shared_ptr<SpooledJob> job)
    {
        const auto printJob =
            std::make_shared<PrintJob>(JobOrigin{.name = job->ticket().jobName}, clock);
        pipeline->process(std::move(job), printJob);
        return printJob;
    }

    std::shared_ptr<PrintJob> process(const std::string& name,
                                      const std::string& document = "%PDF received")
    {
        return process(spool.accept(name, folder.path(), document));
    }

    /** Keeps the workers' answers back from now on. */
    void holdAnswers()
    {
        documents.deliver = [this](Task answer) { held.push_back(std::move(answer)); };
    }

    void deliver(std::size_t index = 0)
    {
        Task answer = std::move(held.at(index));
        held.erase(held.begin() + static_cast<std::ptrdiff_t>(index));
        std::exchange(answer, nullptr)();
    }

    void release(std::size_t index = 0)
    {
        deliver(index);
        queues.run();
    }

    static std::string messageOf(const PrintJob& job) { return job.status().message; }

    ManualQueues queues;
    ManualClock clock;
    RecordingLog log;
    FakeDocuments documents;
    TestSpool spool;
    TemporaryFolder folder;
    FolderQueues folders{queues.background()};
    std::vector<CompletedJob> completed;
    std::vector<UnsavedJob> unsaved;
    std::vector<Task> held;
    OCR ocr{queues, documents, {"eng"}, log};
    std::shared_ptr<JobPipeline> pipeline = std::make_shared<JobPipeline>(
        JobEnvironment{queues, folders, *spool, clock, log, documents, ocr, "ann"},
        JobHandlers{[this](const CompletedJob& job) { completed.push_back(job); },
                    [this](const UnsavedJob& job) { unsaved.push_back(job); }});
};

TEST_F(JobPipelineTest, SavesDocumentsAsTheyCameEachUnderANameOfItsOwn)
{
    documents.openError = DocumentError{DocumentError::Kind::notReadable};
    process("Letter", "%PDF one");
    process("Letter", "%PDF two");
    EXPECT_EQ(folder.entryCount(), 0);
    pipeline.reset();
    queues.run();
    EXPECT_EQ(folder.read("Letter.pdf"), "%PDF one");
    EXPECT_EQ(folder.read("Letter 2.pdf"), "%PDF two");
    EXPECT_EQ(spool.jobCount(), 0);
    ASSERT_EQ(completed.size(), 2U);
    EXPECT_EQ(completed[1].pdfURL, folder.path() / "Letter 2.pdf");
    EXPECT_EQ(completed[1].jobName, "Letter");
    EXPECT_EQ(completed[1].summary, "No text recognized.");
    const std::string why =
        "JobPipeline: saving without recognition: the document is damaged or not a PDF";
    EXPECT_THAT(log.lines(), testing::ElementsAre(why, why));
    EXPECT_THAT(log.errors(), testing::IsEmpty());
}

TEST_F(JobPipelineTest, LaysTheRecognizedWordsOverTheDocument)
{
    const std::string letter(197, 'x');
    documents.pages = {{.text = letter}, {}, {.lines = {"BC"}}};
    process("Minutes");
    queues.run();
    ASSERT_EQ(completed.size(), 1U);
    EXPECT_EQ(completed[0].plainText, letter + "\n\n\n\nBC");
    EXPECT_EQ(completed[0].summary, letter + "  B…") << "it is one character over the limit";
    EXPECT_EQ(folder.read("Minutes.pdf"), "%PDF-searchable");
    EXPECT_EQ(folder.entryCount(), 1);
    EXPECT_EQ(spool.jobCount(), 0);
    EXPECT_EQ(documents.information, (DocumentInformation{{"Author", "ann"},
                                                          {"Creator", "Korvane"},
                                                          {"ModDate", "D:20250301140509+00'00"},
                                                          {"Subject", "Captured by Korvane"},
                                                          {"Title", "Minutes"}}));
    ASSERT_EQ(documents.layers.size(), 3U);
    EXPECT_TRUE(documents.layers[0].lines.empty());
    EXPECT_EQ(documents.layers[2].lines.at(0).words.at(0).text, "BC");
}

TEST_F(JobPipelineTest, LeavesADocumentWithoutAnythingRecognizedAsItIs)
{
    documents.pages = {{.text = "A letter that can be copied already."}, {}};
    process("Letter");
    queues.run();
    EXPECT_EQ(folder.read("Letter.pdf"), "%PDF received");
    EXPECT_EQ(completed.at(0).summary, "A letter that can be copied already.");
    EXPECT_TRUE(documents.information.empty());
}

TEST_F(JobPipelineTest, SavesWhatItReceivedWhereTheSearchableDocumentCannotBeWritten)
{
    documents.pages = {{.lines = {"Signed in ink"}}};
    documents.writeError = PDFWriteError{PDFWriteError::Kind::sourceIsSigned, ""};
    process("Contract");
    queues.run();
    EXPECT_EQ(folder.read("Contract.pdf"), "%PDF received");
    EXPECT_EQ(completed.at(0).plainText, "Signed in ink");
    EXPECT_THAT(log.errors(),
                testing::ElementsAre(testing::StartsWith(
                    "JobPipeline: write failed: The source PDF is digitally signed")));
}

TEST_F(JobPipelineTest, SetsAJobAsideThatCannotBeWrittenAfterOneMoreTry)
{
    holdAnswers();
    const auto printJob = process("Kept");
    queues.run();
    std::filesystem::remove(folder.path());
    documents.openError = DocumentError{DocumentError::Kind::needsPassword};
    release();
    EXPECT_TRUE(completed.empty());
    EXPECT_THAT(
        log.errors(),
        testing::ElementsAre("JobPipeline: write failed: No such file or directory",
                             "JobPipeline: fallback write also failed: No such file or directory"));
    ASSERT_EQ(unsaved.size(), 1U);
    EXPECT_EQ(unsaved[0].writeError, SystemError{ENOENT});
    EXPECT_EQ(unsaved[0].document, spool->unsavedFolder() / "Kept.pdf");
    EXPECT_EQ(spool.state.read("unsaved/Kept.pdf"), "%PDF received");
    EXPECT_EQ(printJob->status().reason, "job-completed-with-errors");
    EXPECT_EQ(messageOf(*printJob),
              "The document could not be saved yet (No such file or directory): it is kept, and "
              "saving it will be tried again");
}

TEST_F(JobPipelineTest, SetsAJobAsideWithoutRecognitionWhileThereIsNoFolder)
{
    std::filesystem::remove(folder.path());
    const auto printJob = process("Letter");
    queues.run();
    EXPECT_EQ(printJob->status().state, JobState::completed);
    EXPECT_EQ(messageOf(*printJob), "The save folder is missing: the document is kept and will be "
                                    "saved when the folder is back");
    ASSERT_EQ(unsaved.size(), 1U);
    EXPECT_FALSE(unsaved[0].writeError);
    EXPECT_FALSE(unsaved[0].wasSetAside);
    EXPECT_EQ(spool.state.read("unsaved/Letter.pdf"), "%PDF received");
    const std::shared_ptr<SpooledJob> job = unsaved[0].job;
    process(job);
    queues.run();
    EXPECT_TRUE(unsaved.at(1).wasSetAside);
    EXPECT_TRUE(documents.reads.empty());
    std::filesystem::create_directory(folder.path());
    process(job);
    queues.run();
    EXPECT_EQ(folder.read("Letter.pdf"), "%PDF received");
    EXPECT_TRUE(std::filesystem::is_empty(spool->unsavedFolder()));
    EXPECT_EQ(completed.size(), 1U);
}

TEST_F(JobPipelineTest, ForgetsAJobWhoseDocumentTheUserHasTaken)
{
    auto job = spool.accept("Letter", folder.path());
    std::filesystem::remove(*job->setAside());
    const auto printJob = process(std::move(job));
    queues.run();
    EXPECT_EQ(printJob->status().state, JobState::aborted);
    EXPECT_EQ(folder.entryCount(), 0);
    EXPECT_TRUE(completed.empty());
    EXPECT_TRUE(unsaved.empty());
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
    EXPECT_EQ(folder.read("Recognized.pdf"), "%PDF one");
    EXPECT_EQ(folder.read("Opened.pdf"), "%PDF two");
    EXPECT_EQ(completed.size(), 2U);
    EXPECT_THAT(log.lines(), testing::IsEmpty());
}

TEST_F(JobPipelineTest, SavesWhatItReceivedOnceWhenAStepIsDropped)
{
    documents.pages = {{.lines = {"word"}}};
    // While it is opened, read, recognized and written.
    for (int steps : {0, 1, 3, 4}) {
        holdAnswers();
        process("Letter " + std::to_string(steps));
        queues.run();
        for (int step = 0; step < steps; ++step) release();
        ASSERT_EQ(held.size(), 1U);
        held.clear();
        queues.run();
        EXPECT_EQ(folder.read("Letter " + std::to_string(steps) + ".pdf"), "%PDF received");
    }
    EXPECT_EQ(folder.entryCount(), 4);
    EXPECT_EQ(completed.size(), 4U);
}

TEST_F(JobPipelineTest, WorksOnABoundedNumberOfAFoldersJobsAndOnTheOthersInTheirOrder)
{
    documents.openError = DocumentError{DocumentError::Kind::needsPassword};
    holdAnswers();
    for (int job = 0; job < 66; ++job) process("Job " + std::to_string(job));
    queues.run();
    EXPECT_EQ(held.size(), 64U);
    const TemporaryFolder other;
    process(spool.accept("Letter", other.path()));
    queues.run();
    ASSERT_EQ(held.size(), 65U);
    std::swap(held.front(), held.back());
    release();
    EXPECT_EQ(other.entryCount(), 1);
    EXPECT_EQ(held.size(), 64U);
    release();
    EXPECT_EQ(held.size(), 64U);
    while (!held.empty()) release();
    EXPECT_EQ(completed.size(), 67U);
    EXPECT_EQ(folder.entryCount(), 66);
}

TEST_F(JobPipelineTest, TellsHowManyPagesAreDoneInWhateverOrder)
{
    documents.pages = {
        {.lines = {"one"}}, {.text = "A page that can be copied."}, {}, {.lines = {"four"}}};
    holdAnswers();
    const auto printJob = process("Letter");
    queues.run();
    EXPECT_EQ(printJob->status().state, JobState::pending);
    release(); // The document is open.
    EXPECT_EQ(messageOf(*printJob), "Recognizing page 1 of 4");
    release(); // Its text has been read.
    EXPECT_EQ(messageOf(*printJob), "Recognizing page 2 of 4");
    release(); // The languages are known.
    release(2);
    EXPECT_EQ(messageOf(*printJob), "Recognizing page 3 of 4");
    release();
    EXPECT_EQ(messageOf(*printJob), "Recognizing page 4 of 4");
    release();
    EXPECT_EQ(printJob->status().state, JobState::processing);
    EXPECT_EQ(printJob->status().pagesCompleted, 4U);
    EXPECT_EQ(messageOf(*printJob), "");
    release(); // The searchable PDF is written.
    EXPECT_EQ(printJob->status().state, JobState::completed);
    EXPECT_EQ(printJob->status().reason, "job-completed-successfully");
    EXPECT_EQ(folder.read("Letter.pdf"), "%PDF-searchable");
}

TEST_F(JobPipelineTest, LeavesNothingOfAJobThatIsCanceledAtWhateverStep)
{
    documents.pages = {{.lines = {"word"}}};
    holdAnswers();
    // While it is opened, read, recognized and written, and between these steps.
    for (int moment = 0; moment <= 10; ++moment) {
        SCOPED_TRACE(moment);
        log.clear();
        documents.trials.clear();
        documents.information.clear();
        const auto printJob = process("Letter");
        for (int answers = moment / 2; answers > 0; --answers) {
            queues.run();
            deliver();
        }
        if (moment % 2 == 1) queues.run();
        queues.background().async([&] { EXPECT_TRUE(printJob->cancel()); });
        queues.run();
        EXPECT_EQ(spool.jobCount(), 0) << "it does not wait for workers";
        while (!held.empty()) release();
        EXPECT_EQ(documents.trials.empty(), moment < 7) << "nothing more is asked of workers";
        EXPECT_EQ(documents.information.empty(), moment < 9);
        EXPECT_EQ(folder.entryCount(), 0);
        EXPECT_THAT(log.lines(), testing::ElementsAre("JobPipeline: job \"Letter\" canceled"));
        EXPECT_EQ(printJob->status().state, JobState::canceled);
    }
    EXPECT_TRUE(std::filesystem::is_empty(spool->unsavedFolder()));
    EXPECT_TRUE(completed.empty());
    EXPECT_TRUE(unsaved.empty());
    process("Next");
    queues.run();
    while (!held.empty()) release();
    EXPECT_EQ(folder.read("Next.pdf"), "%PDF-searchable");
}

TEST_F(JobPipelineTest, LeavesNothingOfACanceledJobThatHadBeenSetAside)
{
    auto job = spool.accept("Letter", folder.path());
    ASSERT_TRUE(job->setAside());
    EXPECT_TRUE(process(std::move(job))->cancel());
    queues.run();
    EXPECT_EQ(spool.jobCount(), 0);
    EXPECT_TRUE(std::filesystem::is_empty(spool->unsavedFolder()));
    EXPECT_EQ(folder.entryCount(), 0);
}

TEST_F(JobPipelineTest, FreesThePlaceOfCanceledJobsAndTheMemoryOfThoseThatWait)
{
    documents.openError = DocumentError{DocumentError::Kind::needsPassword};
    holdAnswers();
    std::vector<std::shared_ptr<PrintJob>> printJobs;
    for (int job = 0; job < 65; ++job) printJobs.push_back(process("Job " + std::to_string(job)));
    auto waiting = spool.accept("Waiting", folder.path());
    const std::weak_ptr<SpooledJob> kept = waiting;
    const auto canceled = process(std::move(waiting));
    process("Last");
    queues.run();
    EXPECT_TRUE(canceled->cancel());
    queues.run();
    EXPECT_TRUE(kept.expired());
    EXPECT_EQ(held.size(), 64U) << "it had no place that it could free";
    EXPECT_TRUE(printJobs[0]->cancel());
    release();
    EXPECT_EQ(held.size(), 64U);
    while (!held.empty()) release();
    EXPECT_EQ(completed.size(), 65U);
    EXPECT_EQ(folder.entryCount(), 65);
    EXPECT_EQ(completed.back().jobName, "Last");
}

} // namespace
} // namespace korvane
