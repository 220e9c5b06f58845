#include "workerpool/Confinement.h"

#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>
#include <utility>

namespace korvane {

Confinement findConfinement()
{
    Confinement found;
    if (::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) < 1)
        found.landlockError = SystemError::last();
    const std::uint32_t action = SECCOMP_RET_KILL_PROCESS;
    if (::syscall(SYS_seccomp, SECCOMP_GET_ACTION_AVAIL, 0, &action) != 0)
        found.seccompError = SystemError::last();
    return found;
}

ConfinementReporter::ConfinementReporter(std::unique_ptr<WorkerLauncher> launcher, Log& log,
                                         std::function<Confinement()> find)
    : launcher_(std::move(launcher)), log_(log), find_(std::move(find))
{
}

Result<std::unique_ptr<Worker>, WorkerFailure> ConfinementReporter::launch(SerialQueue& queue,
                                                                           Worker::Events events)
{
    if (const auto find = std::exchange(find_, nullptr)) {
        const Confinement found = find();
        if (const auto& error = found.landlockError)
            log_.error("WorkerPool: workers run without Landlock: " + error->description());
        if (const auto& error = found.seccompError)
            log_.error("WorkerPool: workers cannot run without seccomp: " + error->description());
    }
    return launcher_->launch(queue, std::move(events));
}

} // namespace korvane
