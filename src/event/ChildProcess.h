#pragma once

#include "base/FileDescriptor.h"
#include "base/Result.h"
#include "base/SystemError.h"
#include "event/Queue.h"

#include <sys/types.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korvane {

/** How to start a program: without a shell. Its standard input, output and error are /dev/null, for
 *  ours is a log; its signals are as a new process has them. */
struct ProcessStart {
    /** The program, looked for along PATH unless it is a path, and its arguments. */
    std::vector<std::string> arguments;
    /** Variables as NAME=value; ours when absent. */
    std::optional<std::vector<std::string>> environment = {};
    /** The one descriptor of ours that it gets, as its descriptor 3; none when negative. */
    int descriptor = -1;
    /** In a process group of its own, out of reach of Ctrl-C in our terminal. */
    bool hasOwnGroup = false;
    /** In a session of its own, which does not end with ours. */
    bool hasOwnSession = false;
};

/** A process that has just begun; whoever holds it has to wait for its end (waitid(2)). */
struct StartedProcess {
    pid_t id = 0;
    /** Readable once the process has ended (pidfd_open(2)). */
    FileDescriptor descriptor;
};

Result<StartedProcess, SystemError> startProcess(const ProcessStart& start);

/**
 * A program whose end is noticed on a queue, on which it is used; destroying it earlier asks the
 * program to end, unless it has a session of its own.
 */
class ChildProcess {
public:
    /** Called with the exit status, or -1 when a signal ended the program. May destroy the process.
     */
    using ExitHandler = std::function<void(int status)>;

    static Result<std::unique_ptr<ChildProcess>, SystemError>
    start(const ProcessStart& start, SerialQueue& queue, ExitHandler onExit);

    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

private:
    ChildProcess(StartedProcess process, bool mayOutlive, SerialQueue& queue, ExitHandler onExit);
    void reap();

    const StartedProcess process_;
    const bool mayOutlive_;
    ExitHandler onExit_;
    std::unique_ptr<DescriptorWatch> watch_;
    bool hasEnded_ = false;
};

} // namespace korvane
