#include "lib/avahi/AvahiServiceDirectory.h"

#include "lib/avahi/AvahiRegistration.h"

#include <avahi-common/error.h>

#include <utility>

namespace korvane {

static_assert(ServiceDirectory::invalidName == AVAHI_ERR_INVALID_SERVICE_NAME);

Result<std::unique_ptr<ServiceRegistration>, int>
AvahiServiceDirectory::registerService(const Registration& registration, SerialQueue& queue,
                                       ResultHandler handler)
{
    AvahiService service = avahiService(registration);
    if (service.name.empty()) return failure(invalidName);
    auto made = std::make_unique<AvahiRegistration>(std::move(service), busAddress_, queue, names_,
                                                    log_, std::move(handler));
    if (const auto started = made->start(); !started) return failure(started.error());
    return made;
}

} // namespace korvane
