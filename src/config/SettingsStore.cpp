#include "config/SettingsStore.h"

#include "base/AtomicFile.h"
#include "base/Data.h"
#include "base/Files.h"

#include <utility>

namespace korvane {

namespace {

constexpr std::size_t maxSettingsSize = std::size_t{1024} * 1024;

} // namespace

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

AppSettings SettingsStore::loadSettings() const
{
    const auto content = readFile(supportDirectory() / "settings.json", maxSettingsSize);
    if (!content) return defaults_;
    return decodeSettings(content->text()).value_or(defaults_);
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
