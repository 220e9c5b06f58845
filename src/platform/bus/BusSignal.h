#pragma once

#include "platform/bus/BusValue.h"

#include <string>
#include <vector>

namespace korvane {

/** Which signals are meant. An empty field matches any. */
struct BusMatch {
    /** A well-known name here is looked at by the bus alone: a peer that addresses a signal to us
     *  gets past it. Compare BusSignal::sender where that matters. */
    std::string sender = {};
    std::string path = {};
    std::string interface = {};
    std::string member = {};
    /** The first argument, a string. */
    std::string firstArgument = {};
};

/** A signal that has arrived. */
struct BusSignal {
    /** The unique name of the sender, which nobody can forge. */
    std::string sender = {};
    std::string member = {};
    std::vector<BusValue> arguments = {};
};

} // namespace korvane
