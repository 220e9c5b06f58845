#include "platform/process/ChildProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <utility>

namespace korvane {

namespace {

/** What the child gets of ours: nothing to read or write, and signals as they are by default. */
class SpawnRules {
public:
    SpawnRules()
    {
        ::posix_spawn_file_actions_init(&files);
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            ::posix_spawn_file_actions_addopen(&files, descriptor, "/dev/null", O_RDWR, 0);
        }
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        ::posix_spawnattr_init(&attributes);
        ::posix_spawnattr_setsigmask(&attributes, &none);
        ::posix_spawnattr_setsigdefault(&attributes, &all);
        ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
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

} // namespace

Result<std::unique_ptr<ChildProcess>, SystemError>
ChildProcess::start(const std::vector<std::string>& arguments, SerialQueue& queue,
                    ExitHandler onExit)
{
    std::vector<std::string> words = arguments;
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);

    const SpawnRules rules;
    pid_t process = 0;
    const int error = ::posix_spawnp(&process, pointers.front(), &rules.files, &rules.attributes,
                                     pointers.data(), environ);
    if (error != 0) return failure(SystemError{error});
    FileDescriptor descriptor(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
    if (!descriptor) {
        const SystemError noDescriptor = SystemError::last();
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
        return failure(noDescriptor);
    }
    return std::unique_ptr<ChildProcess>(
        new ChildProcess(process, std::move(descriptor), queue, std::move(onExit)));
}

ChildProcess::ChildProcess(pid_t process, FileDescriptor descriptor, SerialQueue& queue,
                           ExitHandler onExit)
    : process_(process), descriptor_(std::move(descriptor)), onExit_(std::move(onExit)),
      watch_(queue.watch(descriptor_.get()))
{
    watch_->whenReadable([this] { reap(); });
}

ChildProcess::~ChildProcess()
{
    if (!hasEnded_) ::kill(process_, SIGTERM);
}

void ChildProcess::reap()
{
    hasEnded_ = true;
    int status = 0;
    ::waitpid(process_, &status, 0);
    const ExitHandler onExit = std::move(onExit_);
    onExit(WIFEXITED(status) ? WEXITSTATUS(status) : -1);
}

} // namespace korvane
