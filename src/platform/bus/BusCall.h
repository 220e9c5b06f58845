#pragma once

#include "platform/base/Result.h"
#include "platform/bus/BusValue.h"

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace korvane {

/** A method call, as the D-Bus specification names its fields. */
struct BusCall {
    /** A well-known name, whose service is started for the call if need be, or a unique one. */
    std::string destination;
    std::string path;
    std::string interface;
    std::string member;
    std::vector<BusValue> arguments = {};
    /** How long we wait for the answer; a service may have to be started first. */
    std::chrono::milliseconds timeout = std::chrono::seconds(25);
};

/** Why a call has no result: the answer's error, or one of our own with a D-Bus name. */
struct BusError {
    std::string name;
    std::string message;

    /** In words, for example "The name is not activatable". */
    const std::string& description() const { return message.empty() ? name : message; }

    friend bool operator==(const BusError&, const BusError&) = default;
};

using BusReply = Result<std::vector<BusValue>, BusError>;

} // namespace korvane
