#pragma once

#include "lib/avahi/ServiceDirectory.h"

namespace korvane {

/**
 * DNS-SD through Avahi: its daemon where there is one, and a responder within this process where
 * there is none. When a daemon comes later, the registration moves to it: the service is withdrawn,
 * and registered there. A lost daemon ends the registration with an error.
 *
 * Error codes are Avahi's, which are negative. Every registration has a connection of its own to
 * the system bus. Where there is no bus, its socket file is waited for.
 */
class AvahiServiceDirectory final : public ServiceDirectory {
public:
    /** Called on `queue`. */
    Result<std::unique_ptr<ServiceRegistration>, int>
    registerService(const Registration& registration, SerialQueue& queue,
                    ResultHandler handler) override;
};

} // namespace korvane
