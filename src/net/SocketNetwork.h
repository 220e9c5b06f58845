#pragma once

#include "net/TCPListener.h"

namespace korvane {

/** The machine's own TCP. A listener is one socket: IPv6 that takes IPv4 as well, or IPv4 where
 *  there is no IPv6. */
class SocketNetwork final : public TCPNetwork {
public:
    Result<std::shared_ptr<TCPListener>, SystemError> makeListener(TCPPort port,
                                                                   SerialQueue& queue) override;
};

} // namespace korvane
