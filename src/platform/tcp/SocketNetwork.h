#pragma once

#include "platform/tcp/TCPListener.h"

namespace korvane {

/** The machine's own TCP. */
class SocketNetwork final : public TCPNetwork {
public:
    Result<std::shared_ptr<TCPListener>, SystemError> makeListener(TCPPort port,
                                                                   SerialQueue& queue) override;
};

} // namespace korvane
