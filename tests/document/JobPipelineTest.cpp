#include "document/JobPipeline.h"

#include "document/FileNaming.h"
#include "document/TextSummary.h"
#include "platform/text/Text.h"
#include "support/ManualClock.h"
#include "support/ManualQueues.h"
#include "support/RecordingLog.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace korvane {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

const std::string family = "\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466";

std::string repeated(const std::string& text, int count)
{
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
}

TEST(FileNaming, MakesAnyJobNameAPartOfAFileName)
{
    struct Case {
        std::string jobName;
        std::string sanitized;
    };
    const std::vector<Case> cases = {
        {"Quarterly report", "Quarterly report"},
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
        {repeated(family, 100), repeated(family, 80)},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.jobName);
        EXPECT_EQ(sanitizedJobName(each.jobName), each.sanitized);
    }
}

TEST(FileNaming, CutsANameOfManyBytesBetweenCharacters)
{
    const std::string name = fileName(repeated(family, 100), ManualClock().now());
    EXPECT_LE(name.size(), 255U);
    EXPECT_GT(name.size() + family.size(), 255U);
    EXPECT_EQ(text::characterCount(name), 9U + std::string(" 2025-03-01 140509.pdf").size());
    EXPECT_THAT(name, EndsWith(".pdf"));
}

TEST(TextSummary, IsOneLineOfAtMostTheLimit)
{
    struct Case {
        std::string text;
        std::string summary;
    };
    const std::vector<Case> cases = {
        {"", "No text recognized."},
        {" \n\n ", "No text recognized."},
        {"A\n\n\n\nB", "A  B"},
        {"a   b    c", "a  b  c"},
        {"\nDear\nreader\n", "Dear reader"},
        {std::string(200, 'x'), std::string(200, 'x')},
        {std::string(201, 'x'), std::string(200, 'x') + "…"},
        {repeated(family, 201), repeated(family, 200) + "…"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.text);
        EXPECT_EQ(makeSummary(each.text, 200), each.summary);
    }
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

TEST_F(JobPipelineTest, SavesTheDocumentAsItCameAndThenTells)
{
    process("a/b", "%PDF one");
    EXPECT_EQ(folder.entryCount(), 0);
    pipeline.reset();
    queues.run();
    EXPECT_EQ(folder.read("a_b 2025-03-01 140509.pdf"), "%PDF one");
    ASSERT_EQ(completed.size(), 1U);
    EXPECT_EQ(completed[0].pdfURL, folder.path() / "a_b 2025-03-01 140509.pdf");
    EXPECT_EQ(completed[0].jobName, "a/b");
    EXPECT_EQ(completed[0].plainText, "");
    EXPECT_EQ(completed[0].summary, "No text recognized.");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(JobPipelineTest, TheLaterOfTwoJobsOfOneNameAndSecondTakesTheFile)
{
    process("Same", "%PDF one");
    process("Same", "%PDF two");
    queues.run();
    EXPECT_EQ(folder.entryCount(), 1);
    EXPECT_EQ(folder.read("Same 2025-03-01 140509.pdf"), "%PDF two");
    ASSERT_EQ(completed.size(), 2U);
    EXPECT_EQ(completed[0].pdfURL, completed[1].pdfURL);
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
