#pragma once

#include "base/Log.h"
#include "lib/avahi/ServiceDirectory.h"
#include "net/HostNames.h"

#include <string>

namespace korvane {

/**
 * DNS-SD through Avahi: its daemon where there is one, and a responder within this process where
 * there is none or it does not answer. When a daemon comes later, the registration moves to it: the
 * service is withdrawn, and registered there. A lost daemon ends the registration with an error.
 * Nothing waits for the bus or the daemon.
 *
 * Error codes are Avahi's, which are negative. Every registration has a connection of its own to
 * the system bus. Where there is no bus, its socket file is waited for.
 */
class AvahiServiceDirectory final : public ServiceDirectory {
public:
    /** `names` is told under which name the host answers; it and the log outlive the directory. */
    AvahiServiceDirectory(std::string busAddress, HostNames& names, Log& log)
        : busAddress_(std::move(busAddress)), names_(names), log_(log)
    {
    }

    /** Called on `queue`. */
    Result<std::unique_ptr<ServiceRegistration>, int>
    registerService(const Registration& registration, SerialQueue& queue,
                    ResultHandler handler) override;

private:
    const std::string busAddress_;
    HostNames& names_;
    Log& log_;
};

} // namespace korvane
