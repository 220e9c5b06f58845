#pragma once

#include "platform/base/Result.h"
#include "platform/bus/BusCall.h"
#include "platform/bus/BusHandles.h"
#include "platform/bus/BusSignal.h"

#include <string>
#include <vector>

namespace korvane {

/** An error of the library, a negative errno value, in our words. */
BusError busError(int code);

/** The same where it is the end of a connection, or of the hope of one. */
BusError disconnection(int code);

/** There is no bus to connect to. */
BusError noSessionBus();

/** A connection to the address that has begun to be made; nothing has been waited for. */
Result<BusHandle, BusError> openBus(const std::string& address);

Result<BusMessageHandle, BusError> encode(sd_bus& bus, const BusCall& call);

/** The arguments from the message's front up to the first that cannot be read. */
std::vector<BusValue> decodeArguments(sd_bus_message& message);

/** What an answer says, a result or an error. */
BusReply decodeReply(sd_bus_message& message);

BusSignal decodeSignal(sd_bus_message& message);

/** The match as a rule of the bus. */
std::string matchRule(const BusMatch& match);

} // namespace korvane
