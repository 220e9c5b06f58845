#pragma once

#include "workerpool/Worker.h"

#include <filesystem>

namespace korvane {

/** The path of korvane-worker: beside this program in a build, in libexec when installed. */
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
