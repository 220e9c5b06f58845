#include "platform/worker/SpawnWorker.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

namespace {

constexpr int workerSocket = 3;

/** What the libraries look for: fonts and their cache lie below the home folder, and the user's
 * language decides which of several fonts stands in for a missing one. No path to programs, no bus,
 * no display, and nothing that would change how the libraries behave. */
constexpr std::array<std::string_view, 8> passedOn{
    "HOME=",     "LANG=",           "LC_ALL=",          "LC_CTYPE=",
    "LANGUAGE=", "XDG_CACHE_HOME=", "XDG_CONFIG_HOME=", "XDG_DATA_HOME="};

/** Tesseract's parallel regions ask for a fixed number of threads, whatever is said elsewhere. On
 * cores that recognise other pages they would only be in each other's way. */
constexpr std::string_view oneThread = "OMP_THREAD_LIMIT=1";

std::vector<std::string> makeEnvironment()
{
    std::vector<std::string> environment{std::string(oneThread)};
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view variable(*entry);
        if (std::ranges::any_of(passedOn, [&](auto name) { return variable.starts_with(name); }))
            environment.emplace_back(variable);
    }
    return environment;
}

std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (std::string& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

class FileActions {
public:
    explicit FileActions(int socket)
    {
        posix_spawn_file_actions_init(&actions_);
        posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_adddup2(&actions_, STDOUT_FILENO, STDERR_FILENO);
        posix_spawn_file_actions_adddup2(&actions_, socket, workerSocket);
        posix_spawn_file_actions_addclosefrom_np(&actions_, workerSocket + 1);
    }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }

    const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

class Attributes {
public:
    Attributes()
    {
        posix_spawnattr_init(&attributes_);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setsigdefault(&attributes_, &all);
        posix_spawnattr_setpgroup(&attributes_, 0);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                                   POSIX_SPAWN_SETPGROUP);
    }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    ~Attributes() { posix_spawnattr_destroy(&attributes_); }

    const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

Result<pid_t, SystemError> spawn(const std::filesystem::path& program, int socket)
{
    std::vector<std::string> arguments{program.filename()};
    std::vector<std::string> environment = makeEnvironment();
    const FileActions actions(socket);
    const Attributes attributes;
    pid_t id = 0;
    const int error = ::posix_spawn(&id, program.c_str(), actions.get(), attributes.get(),
                                    pointers(arguments).data(), pointers(environment).data());
    if (error != 0) return failure(SystemError{error});
    return id;
}

} // namespace

Result<SpawnedWorker, SystemError> spawnWorker(const std::filesystem::path& program)
{
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return failure(SystemError::last());
    FileDescriptor ours(ends[0]);
    const FileDescriptor near(ends[1]);
    // Where none of the descriptors that the new process begins with can be in its way.
    const FileDescriptor theirs(::fcntl(near.get(), F_DUPFD_CLOEXEC, workerSocket + 1));
    if (!theirs || ::fcntl(ours.get(), F_SETFL, O_NONBLOCK) != 0)
        return failure(SystemError::last());

    const auto id = spawn(program, theirs.get());
    if (!id) return failure(id.error());
    FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, *id, 0)));
    if (!process) {
        const SystemError error = SystemError::last();
        ::kill(*id, SIGKILL);
        ::waitpid(*id, nullptr, 0);
        return failure(error);
    }
    return SpawnedWorker{.id = *id, .process = std::move(process), .socket = std::move(ours)};
}

} // namespace korvane
