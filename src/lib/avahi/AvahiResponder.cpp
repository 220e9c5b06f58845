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

/** Names lost to others on the network, before Avahi takes them for a storm and says nothing for a
 *  minute. A failure starts again from the first name. */
constexpr int maxConflicts = 12;

} // namespace

AvahiResponder::AvahiResponder(AvahiService service, AvahiResponderObserver& observer)
    : service_(std::move(service)), observer_(observer)
{
}

void AvahiResponder::publish()
{
    int error = fillGroup(service_);
    // Taken on this machine already; what others on the network have taken is found out later.
    while (error == AVAHI_ERR_COLLISION && rename()) error = fillGroup(service_);
    if (error != AVAHI_OK) fail(error);
}

void AvahiResponder::handleGroup(AvahiEntryGroupState state, int error)
{
    switch (state) {
    case AVAHI_ENTRY_GROUP_ESTABLISHED: observer_.published(service_.name); break;
    case AVAHI_ENTRY_GROUP_COLLISION:
        if (++conflicts_ > maxConflicts) return fail(AVAHI_ERR_COLLISION);
        handleCollision();
        break;
    case AVAHI_ENTRY_GROUP_FAILURE: fail(error); break;
    case AVAHI_ENTRY_GROUP_UNCOMMITED:
    case AVAHI_ENTRY_GROUP_REGISTERING: break;
    }
}

void AvahiResponder::handleCollision()
{
    if (rename()) {
        publish();
    } else {
        fail(AVAHI_ERR_COLLISION);
    }
}

void AvahiResponder::tellHost(const std::string& host)
{
    observer_.answering(*this, host.substr(0, host.find('.')));
}

void AvahiResponder::fail(int error)
{
    observer_.failed(*this, error == AVAHI_OK ? AVAHI_ERR_FAILURE : error);
}

bool AvahiResponder::rename()
{
    const std::unique_ptr<char, decltype(&avahi_free)> next(
        avahi_alternative_service_name(service_.name.c_str()), avahi_free);
    if (!next || ++renames_ > maxRenames) return false;
    service_.name = next.get();
    return true;
}

} // namespace korvane
