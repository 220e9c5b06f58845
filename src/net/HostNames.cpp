#include "net/HostNames.h"

#include "base/FileDescriptor.h"
#include "base/Lifetime.h"

#include <fcntl.h>
#include <sys/epoll.h>

#include <utility>

namespace korvane {

namespace {

/**
 * Becomes readable when a system on this kernel is given another name. The file itself, which tells
 * that by POLLERR and POLLPRI (proc_sys(5)), is always readable, hence the epoll around it.
 */
FileDescriptor openRenames(const FileDescriptor& file)
{
    FileDescriptor renames(::epoll_create1(EPOLL_CLOEXEC));
    epoll_event event{.events = EPOLLPRI | EPOLLET, .data = {}};
    const bool isWatching =
        renames && ::epoll_ctl(renames.get(), EPOLL_CTL_ADD, file.get(), &event) == 0;
    return isWatching ? std::move(renames) : FileDescriptor();
}

} // namespace

/** One who is told, and who looks at the kernel's name for all. */
class HostNames::Watch final : public Subscription {
public:
    Watch(HostNames& names, SerialQueue& queue, Task onChange)
        : names_(names), queue_(queue), onChange_(std::move(onChange)),
          file_(::open("/proc/sys/kernel/hostname", O_RDONLY | O_CLOEXEC)),
          renames_(openRenames(file_))
    {
        {
            const std::scoped_lock lock(names_.mutex_);
            names_.watches_.insert(this);
        }
        if (!renames_) return;
        watch_ = queue_.watch(renames_.get());
        waitForRename();
    }

    ~Watch() override
    {
        const std::scoped_lock lock(names_.mutex_);
        names_.watches_.erase(this);
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    /** Any thread. */
    void tell()
    {
        queue_.async(lifetime_.guard([this] { onChange_(); }));
    }

private:
    void waitForRename()
    {
        watch_->whenReadable([this] {
            epoll_event event{};
            while (::epoll_wait(renames_.get(), &event, 1, 0) > 0) {
            }
            waitForRename();
            names_.tellChange();
        });
    }

    HostNames& names_;
    SerialQueue& queue_;
    const Task onChange_;
    const FileDescriptor file_;
    const FileDescriptor renames_;
    std::unique_ptr<DescriptorWatch> watch_;
    Lifetime lifetime_;
};

HostNames::HostNames(SystemName systemName)
    : systemName_(std::move(systemName)), told_(systemName_())
{
}

HostNames::~HostNames() = default;

std::optional<std::string> HostNames::current() const
{
    const std::scoped_lock lock(mutex_);
    return currentLocked();
}

std::optional<std::string> HostNames::currentLocked() const
{
    auto system = systemName_();
    const bool counts = answering_ && (!answering_->systemName || answering_->systemName == system);
    return counts ? answering_->name : system;
}

void HostNames::setAnswering(std::optional<Answering> answering)
{
    {
        const std::scoped_lock lock(mutex_);
        answering_ = std::move(answering);
    }
    tellChange();
}

std::unique_ptr<Subscription> HostNames::watch(SerialQueue& queue, Task onChange)
{
    return std::make_unique<Watch>(*this, queue, std::move(onChange));
}

void HostNames::tellChange()
{
    const std::scoped_lock lock(mutex_);
    const auto name = currentLocked();
    if (std::exchange(told_, name) == name) return;
    for (Watch* watch : watches_) watch->tell();
}

} // namespace korvane
