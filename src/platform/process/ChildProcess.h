#pragma once

#include "platform/base/FileDescriptor.h"
#include "platform/base/Result.h"
#include "platform/base/SystemError.h"
#include "platform/queue/Queue.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace korvane {

/**
 * A program that was started without a shell. Its end is noticed on a queue, on which it is used;
 * destroying it earlier asks the program to end.
 */
class ChildProcess {
public:
    /** Told the exit status, or -1 when a signal ended the program. It may destroy the process. */
    using ExitHandler = std::function<void(int status)>;

    /** Starts `arguments[0]`, looked for along PATH, with these arguments, our environment and no
     *  input. Its output goes nowhere: ours is a log. */
    static Result<std::unique_ptr<ChildProcess>, SystemError>
    start(const std::vector<std::string>& arguments, SerialQueue& queue, ExitHandler onExit);

    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

private:
    ChildProcess(pid_t process, FileDescriptor descriptor, SerialQueue& queue, ExitHandler onExit);
    void reap();

    const pid_t process_;
    /** Readable once the program has ended (pidfd_open(2)). */
    FileDescriptor descriptor_;
    ExitHandler onExit_;
    std::unique_ptr<DescriptorWatch> watch_;
    bool hasEnded_ = false;
};

} // namespace korvane
