#pragma once

#include "event/Queue.h"
#include "event/Subscription.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace korvane {

enum class InterfaceType { wiredEthernet, wifi, loopback, other };

/** One network interface that traffic can take. */
struct NetworkInterface {
    InterfaceType type = InterfaceType::other;
    /** The system's index, from 1. */
    std::uint32_t index = 0;
    std::string name;

    friend bool operator==(const NetworkInterface&, const NetworkInterface&) = default;
};

/** The ways out of this machine. */
struct NetworkPath {
    /** The usable interfaces, the one that the system prefers first. */
    std::vector<NetworkInterface> availableInterfaces;

    friend bool operator==(const NetworkPath&, const NetworkPath&) = default;
};

/** Watches the network path. */
class NetworkPaths {
public:
    using UpdateHandler = std::function<void(const NetworkPath&)>;

    virtual ~NetworkPaths() = default;

    /** Delivers the path on `queue` as the next of its tasks, so that what is queued after this
     * call finds it known, and again after every change. Called on `queue`. */
    virtual std::unique_ptr<Subscription> monitor(SerialQueue& queue, UpdateHandler handler) = 0;
};

} // namespace korvane
