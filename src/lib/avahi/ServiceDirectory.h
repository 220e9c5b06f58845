#pragma once

#include "base/Result.h"
#include "event/Queue.h"
#include "event/Subscription.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace korvane {

/** A DNS-SD service as it should be seen on the network (RFC 6763). */
struct Registration {
    /** The instance name, in UTF-8. */
    std::string name;
    /** The service type with its subtype, for example "_ipp._tcp,_universal". */
    std::string type;
    std::uint16_t port = 0;
    std::map<std::string, std::string> txt;
    /** The network interface to be seen on; 0 means all of them. */
    std::uint32_t interfaceIndex = 0;
};

/** One live DNS-SD registration; destroying it withdraws the service. */
using ServiceRegistration = Subscription;

/** Registers services with DNS Service Discovery. */
class ServiceDirectory {
public:
    /** What became of a registration: 0 and the name it was given, which differs from the one asked
     *  for when that was taken; or an error code, after which the registration is no longer live.
     */
    using ResultHandler = std::function<void(int error, std::optional<std::string> name)>;

    /** The error of a name that DNS-SD can never carry: trying again is of no use. */
    static constexpr int invalidName = -10;

    virtual ~ServiceDirectory() = default;

    /** Registers a service, or says with an error code why it cannot. The handler runs on `queue`,
     *  on which the registration is also destroyed, and never after that. */
    virtual Result<std::unique_ptr<ServiceRegistration>, int>
    registerService(const Registration& registration, SerialQueue& queue,
                    ResultHandler handler) = 0;
};

} // namespace korvane
