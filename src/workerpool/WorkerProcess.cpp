#include "workerpool/WorkerProcess.h"

#include "workerpool/DescriptorMessage.h"
#include "workerpool/SpawnWorker.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <exception>
#include <fstream>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

namespace korvane {

namespace {

/** Reads in a row, after which other tasks on the queue run. */
constexpr int maxReadsPerTurn = 32;

/** A killed process exits in a moment, unless it is in an uninterruptible sleep. */
constexpr int killTimeoutMilliseconds = 1000;

WorkerFailure failureOf(const siginfo_t& end)
{
    using Kind = WorkerFailure::Kind;
    if (end.si_code != CLD_EXITED) return {Kind::crashed, end.si_status};
    if (end.si_status == ENOMEM) return {Kind::outOfMemory};
    return {Kind::exited, end.si_status};
}

bool awaitReadable(int descriptor, int milliseconds)
{
    pollfd watched{.fd = descriptor, .events = POLLIN, .revents = 0};
    return ::poll(&watched, 1, milliseconds) > 0;
}

class WorkerProcess final : public Worker {
public:
    WorkerProcess(SpawnedWorker spawned, SerialQueue& queue, Events events)
        : spawned_(std::move(spawned)), events_(std::move(events)),
          socketWatch_(queue.watch(spawned_.socket.get())),
          endWatch_(queue.watch(spawned_.process.descriptor.get()))
    {
        socketWatch_->whenReadable([this] { receive(); });
    }
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;
    ~WorkerProcess() override
    {
        if (hasEnded_) return;
        signalKill();
        awaitReadable(spawned_.process.descriptor.get(), killTimeoutMilliseconds);
        reap();
    }

    void send(WorkerMessage request) override
    {
        isBusy_ = true;
        outgoing_ = std::move(request);
        outgoing_->number = ++number_;
        sent_ = 0;
        sendRest();
    }

    void release() override { ::shutdown(spawned_.socket.get(), SHUT_WR); }

    void kill() override
    {
        signalKill();
        awaitEnd();
    }

    bool hasEnded() const override { return awaitReadable(spawned_.process.descriptor.get(), 0); }

    std::chrono::milliseconds processorTime() const override
    {
        clockid_t clock{};
        timespec time{};
        if (::clock_getcpuclockid(spawned_.process.id, &clock) != 0 ||
            ::clock_gettime(clock, &time) != 0)
            return {};
        return std::chrono::milliseconds(time.tv_sec * 1000 + time.tv_nsec / 1'000'000);
    }

    std::size_t memory() const override
    {
        std::ifstream file("/proc/" + std::to_string(spawned_.process.id) + "/statm");
        std::size_t size = 0;
        std::size_t resident = 0;
        std::size_t shared = 0;
        if (!(file >> size >> resident >> shared) || shared > resident) return 0;
        return (resident - shared) * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    }

private:
    void sendRest();
    void receive();
    void finishMessage();
    void awaitEnd();
    void handleEnd();
    std::optional<WorkerFailure> reap();
    void signalKill();

    SpawnedWorker spawned_;
    Events events_;
    std::unique_ptr<DescriptorWatch> socketWatch_;
    std::unique_ptr<DescriptorWatch> endWatch_;
    std::optional<WorkerMessage> outgoing_;
    std::size_t sent_ = 0;
    /** The latest request's. */
    std::uint32_t number_ = 0;
    FrameDecoder decoder_{0};
    bool isBusy_ = false;
    bool sentInvalidResponse_ = false;
    bool hasEnded_ = false;
};

void WorkerProcess::sendRest()
{
    Transfer transfer = Transfer::more;
    while (transfer == Transfer::more)
        transfer = sendSome(spawned_.socket.get(), *outgoing_, sent_);
    if (transfer == Transfer::wouldBlock && socketWatch_) {
        socketWatch_->whenWritable([this] { sendRest(); });
        return;
    }
    outgoing_.reset();
    // The process cannot answer a request that it does not have completely.
    if (transfer == Transfer::failed) kill();
}

void WorkerProcess::receive()
{
    Transfer transfer = Transfer::more;
    for (int step = 0; step < maxReadsPerTurn && transfer == Transfer::more; ++step)
        transfer = receiveSome(spawned_.socket.get(), decoder_);
    switch (transfer) {
    case Transfer::more:
    case Transfer::wouldBlock: return socketWatch_->whenReadable([this] { receive(); });
    case Transfer::done: return finishMessage();
    case Transfer::failed: sentInvalidResponse_ = true; [[fallthrough]];
    case Transfer::closed: return kill();
    }
}

void WorkerProcess::finishMessage()
{
    WorkerMessage answer = decoder_.take();
    // No request was sent, not completely, or it was another one.
    if (!isBusy_ || outgoing_ || answer.number != number_) {
        sentInvalidResponse_ = true;
        return kill();
    }
    isBusy_ = false;
    socketWatch_->whenReadable([this] { receive(); });
    events_.answered(std::move(answer));
}

/** Nothing is read from the process any more. */
void WorkerProcess::awaitEnd()
{
    if (!socketWatch_) return;
    socketWatch_.reset();
    endWatch_->whenReadable([this] { handleEnd(); });
}

void WorkerProcess::handleEnd()
{
    const auto reason = reap();
    if (!reason) return endWatch_->whenReadable([this] { handleEnd(); });
    using Kind = WorkerFailure::Kind;
    const auto ended = std::move(events_.ended); // which destroys this
    ended(sentInvalidResponse_ ? WorkerFailure{Kind::invalidResponse} : *reason);
}

/** The C library's own declaration is not for C++ before version 2.37. */
void WorkerProcess::signalKill()
{
    ::syscall(SYS_pidfd_send_signal, spawned_.process.descriptor.get(), SIGKILL, nullptr, 0);
}

std::optional<WorkerFailure> WorkerProcess::reap()
{
    siginfo_t end{};
    const auto process = static_cast<id_t>(spawned_.process.descriptor.get());
    if (::waitid(P_PIDFD, process, &end, WEXITED | WNOHANG) == 0 && end.si_pid == 0)
        return std::nullopt;
    hasEnded_ = true;
    return failureOf(end);
}

bool isProgram(const std::filesystem::path& path)
{
    return ::access(path.c_str(), X_OK) == 0;
}

} // namespace

std::filesystem::path workerProgram()
{
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    std::filesystem::path beside = folder / "korvane-worker";
    if (isProgram(beside)) return beside;
    return folder.parent_path() / "libexec" / "korvane" / "korvane-worker";
}

WorkerProcessLauncher::WorkerProcessLauncher(std::filesystem::path program)
    : program_(std::move(program))
{
}

Result<std::unique_ptr<Worker>, WorkerFailure> WorkerProcessLauncher::launch(SerialQueue& queue,
                                                                             Worker::Events events)
{
    auto spawned = spawnWorker(program_);
    if (!spawned) {
        return failure(WorkerFailure{WorkerFailure::Kind::couldNotStart, spawned.error().code});
    }
    const pid_t id = spawned->process.id;
    try {
        return std::make_unique<WorkerProcess>(*std::move(spawned), queue, std::move(events));
    } catch (const std::exception&) { // no descriptor or no memory is left to watch it
        ::kill(id, SIGKILL);
        ::waitpid(id, nullptr, 0);
        return failure(WorkerFailure{WorkerFailure::Kind::couldNotStart, ENOMEM});
    }
}

} // namespace korvane
