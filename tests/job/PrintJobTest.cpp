#include "job/PrintJob.h"

#include "support/ManualClock.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <utility>

namespace korvane {
namespace {

/** What a client reads of it. */
std::string textOf(const PrintJob& job)
{
    const JobStatus status = job.status();
    const std::string pages = status.pages ? "/" + std::to_string(*status.pages) : "";
    return std::to_string(static_cast<int>(status.state)) + " " + std::string(status.reason) + " " +
           std::to_string(status.pagesCompleted) + pages + (status.processing ? " begun" : "") +
           (status.ended ? " ended" : "") + (status.message.empty() ? "" : ": " + status.message);
}

TEST(PrintJob, TellsEachStepOfItsWay)
{
    const ManualClock clock;
    PrintJob job({}, clock);
    const std::pair<std::function<void()>, std::string> steps[] = {
        {[] {}, "4 job-incoming 0"},
        {[&] { job.receive(); }, "3 job-incoming 0"},
        {[&] { job.enqueue(); }, "3 none 0"},
        {[&] { job.completePage(); }, "3 none 0"},
        {[&] { job.process(2); }, "5 job-printing 0/2 begun: Recognizing page 1 of 2"},
        {[&] { job.enqueue(); }, "5 job-printing 0/2 begun: Recognizing page 1 of 2"},
        {[&] { job.completePage(); }, "5 job-printing 1/2 begun: Recognizing page 2 of 2"},
        {[&] { job.completePage(); }, "5 job-printing 2/2 begun"},
        {[&] { job.completePage(); }, "5 job-printing 2/2 begun"},
        {[&] { EXPECT_TRUE(job.publish()); }, "5 job-printing 2/2 begun: Saving"},
        {[&] { job.process(9); }, "5 job-printing 2/2 begun: Saving"},
        {[&] { EXPECT_FALSE(job.cancel()); }, "5 job-printing 2/2 begun: Saving"},
        {[&] { job.complete(); }, "9 job-completed-successfully 2/2 begun ended"},
        {[&] { job.abort("aborted-by-system", "no"); },
         "9 job-completed-successfully 2/2 begun ended"},
        {[&] { EXPECT_FALSE(job.cancel()); }, "9 job-completed-successfully 2/2 begun ended"}};
    int number = 0;
    for (const auto& [step, text] : steps) {
        step();
        EXPECT_EQ(textOf(job), text) << "after step " << number;
        ++number;
    }
}

TEST(PrintJob, EndsOnceAndTellsWhy)
{
    const ManualClock clock;
    const std::pair<std::function<void(PrintJob&)>, std::string> ends[] = {
        {[](PrintJob& job) { job.complete("It is kept"); },
         "9 job-completed-with-errors 3/3 begun ended: It is kept"},
        {[](PrintJob& job) { job.abort("document-format-error", "Not a PDF"); },
         "8 document-format-error 1/3 begun ended: Not a PDF"},
        {[](PrintJob& job) { EXPECT_TRUE(job.cancel()); },
         "7 job-canceled-by-user 1/3 begun ended"}};
    for (const auto& [end, text] : ends) {
        PrintJob job({}, clock);
        job.process(3);
        job.completePage();
        end(job);
        job.completePage();
        job.complete();
        job.abort("aborted-by-system", "late");
        EXPECT_FALSE(job.cancel());
        EXPECT_EQ(textOf(job), text);
    }
}

TEST(PrintJob, StopsTheLatestWorkWhenItIsCanceledAndNoneOnceItIsPublished)
{
    const ManualClock clock;
    std::string stopped;
    const auto stop = [&](const char* work) { return [&stopped, work] { stopped += work; }; };
    PrintJob job({}, clock);
    job.onCancel(stop("a"));
    job.onCancel(stop("b"));
    EXPECT_TRUE(job.cancel());
    EXPECT_FALSE(job.publish());
    EXPECT_TRUE(job.isCanceled());
    job.onCancel(stop("c"));
    EXPECT_EQ(stopped, "bc") << "work on a canceled job stops at once";

    PrintJob published({}, clock);
    published.onCancel(stop("d"));
    EXPECT_TRUE(published.publish());
    published.onCancel(stop("e"));
    EXPECT_FALSE(published.cancel());
    EXPECT_EQ(stopped, "bc");
}

} // namespace
} // namespace korvane
