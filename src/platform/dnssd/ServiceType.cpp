#include "platform/dnssd/ServiceType.h"

namespace korvane {

ServiceType parseServiceType(std::string_view text)
{
    std::size_t end = text.find(',');
    ServiceType result{.type = std::string(text.substr(0, end)), .subtypes = {}};
    while (end != std::string_view::npos) {
        text.remove_prefix(end + 1);
        end = text.find(',');
        result.subtypes.push_back(std::string(text.substr(0, end)) + "._sub." + result.type);
    }
    return result;
}

} // namespace korvane
