#include "lib/avahi/AvahiResponder.h"

#include <avahi-common/alternative.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>

#include <memory>
#include <utility>

namespace korvane {

namespace {

/** Nobody has that many printers of one name; a responder that says so is out of order. */
constexpr int maxRenames = 100;

} // namespace

AvahiResponder::AvahiResponder(AvahiService service, AvahiResponderObserver& observer)
    : service_(std::move(service)), observer_(observer)
{
}

void AvahiResponder::publish()
{
    int error = fillGroup(service_);
    // Taken on this machine already; what others on the network have taken is found out later.
    for (int tries = 0; error == AVAHI_ERR_COLLISION && tries < maxRenames; ++tries) {
        rename();
        error = fillGroup(service_);
    }
    if (error != AVAHI_OK) fail(error);
}

void AvahiResponder::handleGroup(AvahiEntryGroupState state, int error)
{
    switch (state) {
    case AVAHI_ENTRY_GROUP_ESTABLISHED: observer_.published(service_.name); break;
    case AVAHI_ENTRY_GROUP_COLLISION:
        rename();
        publish();
        break;
    case AVAHI_ENTRY_GROUP_FAILURE: fail(error); break;
    case AVAHI_ENTRY_GROUP_UNCOMMITED:
    case AVAHI_ENTRY_GROUP_REGISTERING: break;
    }
}

void AvahiResponder::fail(int error)
{
    observer_.failed(*this, error == AVAHI_OK ? AVAHI_ERR_FAILURE : error);
}

void AvahiResponder::rename()
{
    const std::unique_ptr<char, decltype(&avahi_free)> next(
        avahi_alternative_service_name(service_.name.c_str()), avahi_free);
    if (next) service_.name = next.get();
}

} // namespace korvane
