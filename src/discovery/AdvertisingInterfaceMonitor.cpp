#include "discovery/AdvertisingInterfaceMonitor.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace korvane {

namespace {

constexpr std::chrono::seconds quietTime{2};

AdvertisingInterfaceMonitor::Choice chooseFrom(const NetworkPath& path)
{
    const auto wired = std::ranges::find(path.availableInterfaces, InterfaceType::wiredEthernet,
                                         &NetworkInterface::type);
    if (wired == path.availableInterfaces.end()) return {};
    return {wired->index, wired->name};
}

} // namespace

std::string AdvertisingInterfaceMonitor::Choice::description() const
{
    if (!interfaceName) return "all interfaces";
    return fmt::format("wired interface {} (index {})", *interfaceName, interfaceIndex);
}

void AdvertisingInterfaceMonitor::start(SerialQueue& queue)
{
    if (running_) return;
    running_.emplace(Running{queue});
    if (paths_ == nullptr) return;
    running_->path = paths_->monitor(queue, [this](const NetworkPath& path) { update(path); });
}

void AdvertisingInterfaceMonitor::stop()
{
    running_.reset();
}

void AdvertisingInterfaceMonitor::update(const NetworkPath& path)
{
    const Choice choice = chooseFrom(path);
    if (!std::exchange(running_->hasSeenPath, true)) {
        log_.note("AdvertisingInterfaceMonitor: initial choice: " + choice.description());
        apply(choice);
        return;
    }
    running_->pending.reset();
    if (choice != current_) applyLater(choice);
}

void AdvertisingInterfaceMonitor::applyLater(const Choice& choice)
{
    running_->pending = running_->queue.after(quietTime, [this, choice] {
        log_.note(fmt::format("AdvertisingInterfaceMonitor: advertising on {} (was {})",
                              choice.description(), current_.description()));
        apply(choice);
    });
}

void AdvertisingInterfaceMonitor::apply(const Choice& choice)
{
    const bool changed = choice != std::exchange(current_, choice);
    if (changed && onChange) onChange(choice);
}

} // namespace korvane
