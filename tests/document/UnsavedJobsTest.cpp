#include "document/UnsavedJobs.h"

#include "support/ManualQueues.h"
#include "support/TestSpool.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <string>
#include <vector>

namespace korvane {
namespace {

using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

class UnsavedJobsTest : public testing::Test {
protected:
    UnsavedJob unsaved(const std::string& name, const std::string& folder,
                       std::optional<SystemError> error = {})
    {
        return {.job = spool.accept(name, folder), .writeError = error};
    }

    /** The jobs that were tried since this was last asked. */
    std::vector<std::string> tried()
    {
        std::vector<std::string> names;
        for (const auto& job : std::exchange(processed, {})) names.push_back(job->ticket().jobName);
        return names;
    }

    TestSpool spool;
    ManualQueues queues;
    std::vector<std::shared_ptr<SpooledJob>> processed;
    UnsavedJobs jobs{queues.main(), [this](auto job) { processed.push_back(job); }};
};

TEST_F(UnsavedJobsTest, TellOfAnOutageOnceUntilAJobIsSavedInTheFolder)
{
    EXPECT_TRUE(jobs.add(unsaved("one", "/away")));
    EXPECT_FALSE(jobs.add(unsaved("two", "/away/")));
    EXPECT_TRUE(jobs.add(unsaved("three", "/full", SystemError{ENOSPC})));
    jobs.jobSaved("/other");
    EXPECT_FALSE(jobs.add(unsaved("four", "/away")));
    jobs.jobSaved("/away");
    UnsavedJob again = unsaved("one", "/away");
    again.wasSetAside = true;
    EXPECT_FALSE(jobs.add(again)) << "the user knows of this one";
    EXPECT_TRUE(jobs.add(unsaved("five", "/away")));
}

TEST_F(UnsavedJobsTest, TryOneJobOfAFolderAndTheOthersOnceItIsSaved)
{
    for (const char* name : {"one", "two", "three"}) jobs.add(unsaved(name, "/away"));
    jobs.tryAgain();
    EXPECT_THAT(tried(), ElementsAre("one"));
    jobs.jobSaved("/other");
    EXPECT_THAT(tried(), ElementsAre("two"));
    jobs.add(unsaved("two", "/away"));
    jobs.jobSaved("/away");
    EXPECT_THAT(tried(), ElementsAre("three", "two"));
}

TEST_F(UnsavedJobsTest, DoNotTryWhatDoesNotFitForEachJobThatDoes)
{
    jobs.add(unsaved("large", "/full", SystemError{ENOSPC}));
    queues.advance(seconds(59));
    jobs.jobSaved("/full");
    EXPECT_THAT(tried(), IsEmpty());
    queues.advance(seconds(1));
    jobs.jobSaved("/full");
    EXPECT_THAT(tried(), ElementsAre("large"));
    for (const char* name : {"large", "small"})
        jobs.add(unsaved(name, "/full", SystemError{ENOSPC}));
    jobs.tryAgain();
    EXPECT_THAT(tried(), ElementsAre("large")) << "the user asks for it by a reload";
    jobs.jobSaved("/full");
    EXPECT_THAT(tried(), ElementsAre("small")) << "there is room again";
}

} // namespace
} // namespace korvane
