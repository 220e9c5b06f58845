#pragma once

#include <systemd/sd-bus.h>

#include <memory>

namespace korvane {

struct BusCloser {
    void operator()(sd_bus* bus) const { ::sd_bus_close_unref(bus); }
};
struct BusMessageReleaser {
    void operator()(sd_bus_message* message) const { ::sd_bus_message_unref(message); }
};
struct BusSlotReleaser {
    void operator()(sd_bus_slot* slot) const { ::sd_bus_slot_unref(slot); }
};

/** A connection, closed by its owner's end. */
using BusHandle = std::unique_ptr<sd_bus, BusCloser>;
using BusMessageHandle = std::unique_ptr<sd_bus_message, BusMessageReleaser>;
/** A match or a call under way, taken back by its owner's end. */
using BusSlotHandle = std::unique_ptr<sd_bus_slot, BusSlotReleaser>;

} // namespace korvane
