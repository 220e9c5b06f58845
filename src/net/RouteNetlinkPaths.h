#pragma once

#include "net/NetworkPath.h"

namespace korvane {

/**
 * The network path as the kernel's routing socket tells it (rtnetlink(7)). A burst of changes is
 * delivered as one; changes that leave the path as it was are not delivered. Between changes
 * nothing runs. Where there is no routing socket, the path is empty.
 */
class RouteNetlinkPaths final : public NetworkPaths {
public:
    std::unique_ptr<Subscription> monitor(SerialQueue& queue, UpdateHandler handler) override;
};

} // namespace korvane
