#include "platform/signals/TerminationSignals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <utility>

namespace korvane {

namespace {

sigset_t terminationSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    return signals;
}

class DescriptorSignalWatch final : public SignalWatch {
public:
    DescriptorSignalWatch(SerialQueue& queue, int descriptor, Task handler)
        : descriptor_(descriptor), handler_(std::move(handler)), watch_(queue.watch(descriptor))
    {
        waitForNext();
    }

private:
    void waitForNext()
    {
        watch_->whenReadable([this] {
            signalfd_siginfo arrived{};
            const bool gotOne = ::read(descriptor_, &arrived, sizeof arrived) == sizeof arrived;
            waitForNext();
            if (gotOne) handler_();
        });
    }

    int descriptor_;
    Task handler_;
    std::unique_ptr<DescriptorWatch> watch_;
};

} // namespace

TerminationSignals::TerminationSignals()
{
    const sigset_t signals = terminationSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    descriptor_ = FileDescriptor(::signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC));
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

std::unique_ptr<SignalWatch> TerminationSignals::watch(SerialQueue& queue, Task handler) const
{
    return std::make_unique<DescriptorSignalWatch>(queue, descriptor_.get(), std::move(handler));
}

} // namespace korvane
