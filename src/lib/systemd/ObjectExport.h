#pragma once

#include "lib/systemd/BusCoding.h"
#include "lib/systemd/BusObject.h"

#include <memory>
#include <string>
#include <vector>

namespace korvane {

/** An object as it is offered on one connection; destroying it takes it back, and its name. */
class ObjectExport {
public:
    /** The object outlives the export. An object or a name that the bus refuses costs its callers,
     *  nothing else; a name that another program has is waited for. */
    ObjectExport(sd_bus& bus, const BusObject& object);
    ObjectExport(const ObjectExport&) = delete;
    ObjectExport& operator=(const ObjectExport&) = delete;
    ~ObjectExport();

private:
    void addEntries();

    static int getProperty(sd_bus* bus, const char* path, const char* interface, const char* name,
                           sd_bus_message* reply, void* object, sd_bus_error* error);
    static int callMethod(sd_bus_message* message, void* object, sd_bus_error* error);

    sd_bus& bus_;
    const BusObject& object_;
    /** What the entries point to: of each method its signatures and the names of its parameters. */
    std::vector<std::unique_ptr<const std::string>> texts_;
    std::vector<sd_bus_vtable> entries_;
    BusSlotHandle offered_;
    BusSlotHandle naming_;
};

} // namespace korvane
