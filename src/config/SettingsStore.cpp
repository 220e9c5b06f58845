#include "config/SettingsStore.h"

#include "base/AtomicFile.h"
#include "base/Data.h"
#include "base/Files.h"
#include "config/SettingsKeys.h"

#include <utility>

namespace korvane {

SettingsStore::SettingsStore(std::filesystem::path configHome,
                             const std::optional<std::string>& hostName)
    : configHome_(std::move(configHome))
{
    defaults_.printerName = defaultPrinterName(hostName);
}

std::filesystem::path SettingsStore::supportDirectory() const
{
    std::filesystem::path folder = configHome_ / "Korvane";
    createPrivateFolders(folder);
    return folder;
}

SettingsFile SettingsStore::settingsFile() const
{
    return SettingsFile(supportDirectory() / "settings.json");
}

AppSettings SettingsStore::loadSettings() const
{
    const auto settings = settingsFile().read();
    return settings && *settings ? **settings : defaults_;
}

std::optional<std::string> SettingsStore::problem() const
{
    const auto settings = settingsFile().read();
    if (!settings) return settings.error().description;
    return configurationProblem(settings->value_or(defaults_));
}

void SettingsStore::writeVersionStamp(std::string_view build, Log& log) const
{
    const auto written =
        writeFileAtomically(supportDirectory() / "agent-version", Data::copying(build).bytes());
    if (!written) {
        log.error("KorvaneAgent: couldn't write version stamp: " + written.error().description());
    }
}

} // namespace korvane
