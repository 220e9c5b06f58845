#include "event/ChildProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <utility>

namespace korvane {

namespace {

constexpr int passedDescriptor = 3;

/** What a ProcessStart means to posix_spawn(3). */
class SpawnRules {
public:
    explicit SpawnRules(const ProcessStart& start)
    {
        ::posix_spawn_file_actions_init(&files);
        // First, for it may be one of those that are replaced next.
        if (start.descriptor >= 0)
            ::posix_spawn_file_actions_adddup2(&files, start.descriptor, passedDescriptor);
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            ::posix_spawn_file_actions_addopen(&files, descriptor, "/dev/null", O_RDWR, 0);
        }
        ::posix_spawn_file_actions_addclosefrom_np(
            &files, start.descriptor >= 0 ? passedDescriptor + 1 : passedDescriptor);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        ::posix_spawnattr_init(&attributes);
        ::posix_spawnattr_setsigmask(&attributes, &none);
        ::posix_spawnattr_setsigdefault(&attributes, &all);
        const int group = (start.hasOwnGroup ? POSIX_SPAWN_SETPGROUP : 0) |
                          (start.hasOwnSession ? POSIX_SPAWN_SETSID : 0);
        ::posix_spawnattr_setflags(&attributes, static_cast<short>(POSIX_SPAWN_SETSIGMASK |
                                                                   POSIX_SPAWN_SETSIGDEF | group));
    }
    SpawnRules(const SpawnRules&) = delete;
    SpawnRules& operator=(const SpawnRules&) = delete;
    ~SpawnRules()
    {
        ::posix_spawn_file_actions_destroy(&files);
        ::posix_spawnattr_destroy(&attributes);
    }

    posix_spawn_file_actions_t files{};
    posix_spawnattr_t attributes{};
};

/** The texts as the system takes them, which does not change them. */
std::vector<char*> pointersTo(const std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

Result<StartedProcess, SystemError> startProcess(const ProcessStart& start)
{
    const SpawnRules rules(start);
    const auto arguments = pointersTo(start.arguments);
    const auto environment =
        start.environment ? pointersTo(*start.environment) : std::vector<char*>();
    pid_t id = 0;
    const int error =
        ::posix_spawnp(&id, arguments.front(), &rules.files, &rules.attributes, arguments.data(),
                       start.environment ? environment.data() : environ);
    if (error != 0) return failure(SystemError{error});
    FileDescriptor descriptor(static_cast<int>(::syscall(SYS_pidfd_open, id, 0)));
    if (!descriptor) {
        const SystemError noDescriptor = SystemError::last();
        ::kill(id, SIGKILL);
        ::waitpid(id, nullptr, 0);
        return failure(noDescriptor);
    }
    return StartedProcess{.id = id, .descriptor = std::move(descriptor)};
}

Result<std::unique_ptr<ChildProcess>, SystemError>
ChildProcess::start(const ProcessStart& start, SerialQueue& queue, ExitHandler onExit)
{
    return startProcess(start).map([&](StartedProcess&& process) {
        return std::unique_ptr<ChildProcess>(
            new ChildProcess(std::move(process), start.hasOwnSession, queue, std::move(onExit)));
    });
}

ChildProcess::ChildProcess(StartedProcess process, bool mayOutlive, SerialQueue& queue,
                           ExitHandler onExit)
    : process_(std::move(process)), mayOutlive_(mayOutlive), onExit_(std::move(onExit)),
      watch_(queue.watch(process_.descriptor.get()))
{
    watch_->whenReadable([this] { reap(); });
}

ChildProcess::~ChildProcess()
{
    if (!hasEnded_ && !mayOutlive_) ::kill(process_.id, SIGTERM);
}

void ChildProcess::reap()
{
    hasEnded_ = true;
    int status = 0;
    ::waitpid(process_.id, &status, 0);
    const ExitHandler onExit = std::move(onExit_);
    onExit(WIFEXITED(status) ? WEXITSTATUS(status) : -1);
}

} // namespace korvane
