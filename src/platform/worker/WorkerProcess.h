#pragma once

#include "platform/worker/Worker.h"

#include <filesystem>

namespace korvane {

/** The worker's program as it was built or installed with this one; empty when there is none. */
std::filesystem::path workerProgram();

/** Starts `program`, which serves requests on descriptor 3 (see worker/WorkerMain.h). */
class WorkerProcessLauncher final : public WorkerLauncher {
public:
    explicit WorkerProcessLauncher(std::filesystem::path program = workerProgram());

    Result<std::unique_ptr<Worker>, WorkerFailure> launch(SerialQueue& queue,
                                                          Worker::Events events) override;

private:
    std::filesystem::path program_;
};

} // namespace korvane
