#pragma once

#include "net/NetworkPath.h"

#include <memory>
#include <utility>

namespace korvane {

/** A network path that changes when the test says so. */
class FakeNetworkPaths final : public NetworkPaths {
public:
    std::unique_ptr<Subscription> monitor(SerialQueue& /*queue*/, UpdateHandler handler) override
    {
        update = std::move(handler);
        return std::make_unique<Watch>(update);
    }

    /** Delivers a path; empty while nobody watches. */
    UpdateHandler update;

private:
    struct Watch final : Subscription {
        explicit Watch(UpdateHandler& watched) : handler(watched) {}
        ~Watch() override { handler = nullptr; }
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;

        UpdateHandler& handler;
    };
};

inline const NetworkInterface ethernet{InterfaceType::wiredEthernet, 2, "eth0"};
inline const NetworkInterface secondEthernet{InterfaceType::wiredEthernet, 5, "eth1"};
inline const NetworkInterface wifi{InterfaceType::wifi, 3, "wlan0"};

} // namespace korvane
