#include "workerpool/Confinement.h"

#include "Workshop.h"
#include "support/ManualQueues.h"
#include "support/RecordingLog.h"

#include <gmock/gmock.h>

namespace korvane {
namespace {

TEST(ConfinementReporter, TellsOnceWhatTheKernelLacks)
{
    struct Case {
        Confinement found;
        std::vector<std::string> lines;
    };
    const std::string landlock =
        "WorkerPool: workers run without Landlock: Operation not supported";
    const std::string seccomp =
        "WorkerPool: workers cannot run without seccomp: Function not implemented";
    const SystemError unsupported{EOPNOTSUPP};
    const SystemError missing{ENOSYS};
    const Case cases[] = {
        {{}, {}},
        {{.landlockError = unsupported}, {landlock}},
        {{.landlockError = unsupported, .seccompError = missing}, {landlock, seccomp}},
    };
    for (const Case& each : cases) {
        RecordingLog log;
        ManualQueues queues;
        const auto queue = queues.makeSerial("workers");
        Workshop workshop;
        ConfinementReporter launcher(std::make_unique<WorkshopLauncher>(workshop), log,
                                     [&] { return each.found; });
        EXPECT_THAT(log.lines(), testing::IsEmpty()) << "no worker was needed yet";
        const auto first = launcher.launch(*queue, {});
        const auto second = launcher.launch(*queue, {});
        EXPECT_EQ(workshop.started, 2);
        EXPECT_EQ(log.errors(), each.lines);
    }
}

} // namespace
} // namespace korvane
