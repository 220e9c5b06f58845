#pragma once

#include "lib/systemd/BusMessage.h"

#include <functional>
#include <string>
#include <vector>

namespace korvane {

/** A parameter of a method: its name and its type as a D-Bus signature. */
struct BusParameter {
    std::string name;
    std::string signature;
};

struct BusMethod {
    std::string name;
    std::vector<BusParameter> parameters;
    std::vector<BusParameter> results;
    /** Gives the results, of the types above. The bus has checked the types of the arguments. */
    std::function<BusReply(const std::vector<BusValue>& arguments)> call;
};

/** A property that callers read and do not write. */
struct BusProperty {
    std::string name;
    std::string signature;
    std::function<BusValue()> get;
    /** Whether the object announces changes by PropertiesChanged of
     * org.freedesktop.DBus.Properties.
     */
    bool announcesChanges = false;
};

/**
 * What a program offers on a bus: one object with one interface, under a well-known name. The
 * functions are called on the bus's queue and do not wait. Introspection and reading the properties
 * (org.freedesktop.DBus.Introspectable and .Properties) come with it.
 */
struct BusObject {
    std::string name;
    std::string path;
    std::string interface;
    std::vector<BusProperty> properties;
    std::vector<BusMethod> methods;
    /** The names of its signals, which have no arguments. */
    std::vector<std::string> signals;
};

/** A signal to be sent to all who have subscribed to it. */
struct BusEmission {
    std::string path;
    std::string interface;
    std::string member;
    std::vector<BusValue> arguments = {};
};

} // namespace korvane
