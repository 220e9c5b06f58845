#include "event/ProcessSignals.h"

#include "base/FileDescriptor.h"

#include <sys/signalfd.h>
#include <sys/time.h>
#include <unistd.h>

#include <csignal>
#include <utility>

namespace korvane {

namespace {

sigset_t setOf(std::initializer_list<int> signals)
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : signals) sigaddset(&set, signal);
    return set;
}

class SignalSubscription final : public Subscription {
public:
    SignalSubscription(const sigset_t& signals, SerialQueue& queue, Task handler)
        : descriptor_(::signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC)),
          handler_(std::move(handler)), watch_(queue.watch(descriptor_.get()))
    {
        waitForNext();
    }

private:
    void waitForNext()
    {
        watch_->whenReadable([this] {
            signalfd_siginfo arrived{};
            const bool gotOne =
                ::read(descriptor_.get(), &arrived, sizeof arrived) == sizeof arrived;
            waitForNext();
            if (gotOne) handler_();
        });
    }

    FileDescriptor descriptor_;
    Task handler_;
    std::unique_ptr<DescriptorWatch> watch_;
};

} // namespace

ProcessSignals::ProcessSignals()
{
    const sigset_t signals = setOf({SIGTERM, SIGINT, SIGHUP});
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

std::unique_ptr<Subscription> ProcessSignals::watch(std::initializer_list<int> signals,
                                                    SerialQueue& queue, Task handler) const
{
    return std::make_unique<SignalSubscription>(setOf(signals), queue, std::move(handler));
}

void ProcessSignals::endProcessAfter(std::chrono::microseconds time)
{
    std::signal(SIGALRM, [](int /*signal*/) { ::_exit(0); });
    const sigset_t alarm = setOf({SIGALRM});
    pthread_sigmask(SIG_UNBLOCK, &alarm, nullptr);
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    const itimerval timer{
        .it_interval = {},
        .it_value = {.tv_sec = seconds.count(), .tv_usec = (time - seconds).count()}};
    ::setitimer(ITIMER_REAL, &timer, nullptr);
}

} // namespace korvane
