#pragma once

#include "platform/bus/BusCall.h"

namespace korvane {

/** What becomes of a connection. */
class BusConnectionObserver {
public:
    virtual ~BusConnectionObserver() = default;

    /** The bus has greeted us; calls and matches may be made. */
    virtual void connectionReady() = 0;

    /** The connection could not be made or is gone, and may be destroyed here. Calls under way have
     *  failed before. */
    virtual void connectionLost(const BusError& error) = 0;
};

} // namespace korvane
