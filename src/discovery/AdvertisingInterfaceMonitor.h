#pragma once

#include "base/Log.h"
#include "event/Queue.h"
#include "net/NetworkPath.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace korvane {

/**
 * Chooses the network interface to advertise the printer on: the first wired one that the network
 * path offers, else all of them. The first choice holds at once; a later one when nothing has
 * changed for two seconds, so that a flapping cable does not make the printer come and go.
 *
 * Everything, construction and destruction aside, happens on the queue given to `start`.
 */
class AdvertisingInterfaceMonitor {
public:
    struct Choice {
        /** The system's index; 0 when no interface is chosen. */
        std::uint32_t interfaceIndex = 0;
        /** Absent when the printer is advertised on all interfaces. */
        std::optional<std::string> interfaceName;

        /** As log lines name it: "all interfaces", or "wired interface eth0 (index 2)". */
        std::string description() const;

        friend bool operator==(const Choice&, const Choice&) = default;
    };

    /** Without paths to watch, the choice stays at all interfaces. */
    AdvertisingInterfaceMonitor(NetworkPaths* paths, Log& log) : paths_(paths), log_(log) {}

    /** Told when the choice changes. Set before `start`. */
    std::function<void(const Choice&)> onChange;

    const Choice& current() const { return current_; }

    void start(SerialQueue& queue);
    void stop();

private:
    /** What there is between `start` and `stop`. */
    struct Running {
        SerialQueue& queue;
        std::unique_ptr<Subscription> path = {};
        bool hasSeenPath = false;
        /** Another choice, until it has held. */
        std::unique_ptr<DelayedTask> pending = {};
    };

    void update(const NetworkPath& path);
    void applyLater(const Choice& choice);
    void apply(const Choice& choice);

    NetworkPaths* paths_;
    Log& log_;
    Choice current_;
    std::optional<Running> running_;
};

} // namespace korvane
