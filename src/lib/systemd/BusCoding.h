#pragma once

#include "base/Result.h"
#include "lib/systemd/BusMessage.h"
#include "lib/systemd/BusObject.h"

#include <systemd/sd-bus.h>

#include <memory>
#include <string>
#include <vector>

namespace korvane {

template <auto release>
struct BusReleaser {
    template <typename T>
    void operator()(T* object) const
    {
        release(object);
    }
};

/** A connection, closed when its owner is destroyed. */
using BusHandle = std::unique_ptr<sd_bus, BusReleaser<sd_bus_close_unref>>;
using BusMessageHandle = std::unique_ptr<sd_bus_message, BusReleaser<sd_bus_message_unref>>;
/** A match, or a call that waits for its reply; cancelled when its owner is destroyed. */
using BusSlotHandle = std::unique_ptr<sd_bus_slot, BusReleaser<sd_bus_slot_unref>>;

/** An error of the library, a negative errno value, in our words. */
BusError busError(int code);

/** The same where it is the end of a connection, or of the hope of one. */
BusError disconnection(int code);

/** There is no bus to connect to. */
BusError noSessionBus();

/** A connection to the address that has begun to be made; nothing has been waited for. */
Result<BusHandle, BusError> openBus(const std::string& address);

Result<BusMessageHandle, BusError> encode(sd_bus& bus, const BusCall& call);
Result<BusMessageHandle, BusError> encode(sd_bus& bus, const BusEmission& emission);

/** Appends arguments to a message; what the library gives, negative for a failure. */
int append(sd_bus_message& message, const BusValue& value);
int append(sd_bus_message& message, const std::vector<BusValue>& values);

/** The arguments from the message's front up to the first that cannot be read. */
std::vector<BusValue> decodeArguments(sd_bus_message& message);

/** What a reply says, a result or an error. */
BusReply decodeReply(sd_bus_message& message);

BusSignal decodeSignal(sd_bus_message& message);

/** The match as a rule of the bus. */
std::string matchRule(const BusMatch& match);

} // namespace korvane
