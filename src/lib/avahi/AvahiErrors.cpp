#include "lib/avahi/AvahiErrors.h"

#include <avahi-common/error.h>

#include <algorithm>
#include <array>

namespace korvane {

int avahiError(std::string_view name)
{
    struct NamedError {
        std::string_view name;
        int code;
    };
    // What publishing a service can meet.
    constexpr auto errors = std::to_array<NamedError>(
        {{"org.freedesktop.Avahi.BadStateError", AVAHI_ERR_BAD_STATE},
         {"org.freedesktop.Avahi.InvalidHostNameError", AVAHI_ERR_INVALID_HOST_NAME},
         {"org.freedesktop.Avahi.InvalidDomainNameError", AVAHI_ERR_INVALID_DOMAIN_NAME},
         {"org.freedesktop.Avahi.NoNetworkError", AVAHI_ERR_NO_NETWORK},
         {"org.freedesktop.Avahi.CollisionError", AVAHI_ERR_COLLISION},
         {"org.freedesktop.Avahi.InvalidRecordError", AVAHI_ERR_INVALID_RECORD},
         {"org.freedesktop.Avahi.InvalidServiceNameError", AVAHI_ERR_INVALID_SERVICE_NAME},
         {"org.freedesktop.Avahi.TooManyClientsError", AVAHI_ERR_TOO_MANY_CLIENTS},
         {"org.freedesktop.Avahi.TooManyObjectsError", AVAHI_ERR_TOO_MANY_OBJECTS},
         {"org.freedesktop.Avahi.TooManyEntriesError", AVAHI_ERR_TOO_MANY_ENTRIES},
         {"org.freedesktop.Avahi.OSError", AVAHI_ERR_OS},
         {"org.freedesktop.DBus.Error.AccessDenied", AVAHI_ERR_ACCESS_DENIED},
         {"org.freedesktop.DBus.Error.Disconnected", AVAHI_ERR_DISCONNECTED},
         {"org.freedesktop.DBus.Error.NoReply", AVAHI_ERR_DISCONNECTED},
         {"org.freedesktop.DBus.Error.ServiceUnknown", AVAHI_ERR_DISCONNECTED},
         {"org.freedesktop.Avahi.NoMemoryError", AVAHI_ERR_NO_MEMORY},
         {"org.freedesktop.Avahi.InvalidObjectError", AVAHI_ERR_INVALID_OBJECT},
         {"org.freedesktop.Avahi.InvalidInterfaceError", AVAHI_ERR_INVALID_INTERFACE},
         {"org.freedesktop.Avahi.InvalidRDataError", AVAHI_ERR_INVALID_RDATA},
         {"org.freedesktop.Avahi.NotSupportedError", AVAHI_ERR_NOT_SUPPORTED},
         {"org.freedesktop.Avahi.NotPermittedError", AVAHI_ERR_NOT_PERMITTED},
         {"org.freedesktop.Avahi.IsEmptyError", AVAHI_ERR_IS_EMPTY}});
    const auto* found = std::ranges::find(errors, name, &NamedError::name);
    return found == errors.end() ? AVAHI_ERR_DBUS_ERROR : found->code;
}

} // namespace korvane
