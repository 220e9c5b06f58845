#include "document/JobPipeline.h"

#include "document/FileNaming.h"
#include "document/TextSummary.h"
#include "support/ManualClock.h"
#include "support/ManualQueues.h"
#include "support/RecordingLog.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace korvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

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
        {std::string("before\0after", 12), "before"},
        {std::string("\0", 1), "Print Job"},
        {"Zo\u0308e \u4F60\u597D \x01", "Zo\u0308e \u4F60\u597D \x01"},
        {std::string(100, 'x'), std::string(80, 'x')},
        {std::string(79, 'x') + " tail", std::string(79, 'x') + " "},
        {families(100), families(80)}};
    for (const auto& [jobName, sanitized] : cases) EXPECT_EQ(sanitizedJobName(jobName), sanitized);
    ::setenv("TZ", "UTC", 1);
    // 255 bytes are room for nine of these.
    EXPECT_EQ(fileName(families(100), ManualClock().now()), families(9) + " 2025-03-01 140509.pdf");
}

TEST(TextSummary, IsOneLineOfAtMostTheLimit)
{
    const std::pair<std::string, std::string> cases[] = {
        {"", "No text recognized."},
        {" \n\n ", "No text recognized."},
        {"A\n\n\n\nB", "A  B"},
        {"a   b    c", "a  b  c"},
        {"\nDear\nreader\n", "Dear reader"},
        {std::string(200, 'x'), std::string(200, 'x')},
        {std::string(201, 'x'), std::string(200, 'x') + "…"},
        {families(201), families(200) + "…"}};
    for (const auto& [text, summary] : cases) EXPECT_EQ(makeSummary(text, 200), summary);
}

class JobPipelineTest : public testing::Test {
protected:
    JobPipelineTest() { ::setenv("TZ", "UTC", 1); }

    void process(const std::string& name, const std::string& document)
    {
        pipeline->process(name, Data::copying(document), folder.path());
    }

    ManualQueues queues;
    ManualClock clock;
    RecordingLog log;
    TemporaryFolder folder;
    std::vector<CompletedJob> completed;
    std::shared_ptr<JobPipeline> pipeline = std::make_shared<JobPipeline>(
        queues, clock, log, [this](const CompletedJob& job) { completed.push_back(job); });
};

TEST_F(JobPipelineTest, SavesDocumentsAsTheyCameTheLaterOfOneNameAndSecondInTheFirstsPlace)
{
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
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(JobPipelineTest, TriesOnceMoreAndThenGivesTheJobUp)
{
    process("Lost", "%PDF");
    std::filesystem::remove_all(folder.path());
    queues.run();
    EXPECT_THAT(completed, IsEmpty());
    EXPECT_THAT(log.errors(),
                ElementsAre("JobPipeline: write failed: No such file or directory",
                            "JobPipeline: fallback write also failed: No such file or directory"));
}

} // namespace
} // namespace korvane
