#pragma once

#include "base/Log.h"
#include "base/SystemError.h"
#include "workerpool/Worker.h"

#include <functional>
#include <memory>
#include <optional>

namespace korvane {

/** What this kernel has of what workers are confined with. */
struct Confinement {
    /** Why there is no Landlock: workers could open the user's files then. */
    std::optional<SystemError> landlockError;
    /** Why there is no seccomp filter: workers refuse to run then. */
    std::optional<SystemError> seccompError;
};

Confinement findConfinement();

/** Starts workers as another launcher does. With the first one, the log is told what the kernel
 *  lacks. */
class ConfinementReporter final : public WorkerLauncher {
public:
    /** The log outlives the launcher. */
    ConfinementReporter(std::unique_ptr<WorkerLauncher> launcher, Log& log,
                        std::function<Confinement()> find = findConfinement);

    Result<std::unique_ptr<Worker>, WorkerFailure> launch(SerialQueue& queue,
                                                          Worker::Events events) override;

private:
    const std::unique_ptr<WorkerLauncher> launcher_;
    Log& log_;
    /** Empty once it was called. */
    std::function<Confinement()> find_;
};

} // namespace korvane
