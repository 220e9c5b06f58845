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
    if (std::exchange(started_, true)) return;
    queue_ = &queue;
    if (paths_ == nullptr) return;
    monitor_ = paths_->monitor(queue, [this](const NetworkPath& path) { update(path); });
}

void AdvertisingInterfaceMonitor::stop()
{
    pending_.reset();
    monitor_.reset();
    started_ = false;
    seenFirstPath_ = false;
}

void AdvertisingInterfaceMonitor::update(const NetworkPath& path)
{
    const Choice choice = chooseFrom(path);
    if (!std::exchange(seenFirstPath_, true)) {
        log_.note("AdvertisingInterfaceMonitor: initial choice: " + choice.description());
        apply(choice);
        return;
    }
    pending_.reset();
    if (choice != current_) applyLater(choice);
}

void AdvertisingInterfaceMonitor::applyLater(const Choice& choice)
{
    pending_ = queue_->after(quietTime, [this, choice] {
        pending_.reset();
        if (choice == current_) return;
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
