#include "config/AppSettings.h"

#include "platform/text/Text.h"

namespace korvane {

namespace {

constexpr std::uint16_t lastPrivilegedPort = 1023;

} // namespace

bool isConfigured(const AppSettings& settings)
{
    return !text::trimmingHorizontalSpace(settings.printerName).empty() &&
           !settings.saveDirectoryPath.empty() && settings.ippPort > lastPrivilegedPort;
}

std::string defaultPrinterName(const std::optional<std::string>& hostName)
{
    return hostName ? "Virtual Printer on " + *hostName : "Korvane Printer";
}

} // namespace korvane
