#pragma once

#include "base/Log.h"
#include "config/AppSettings.h"
#include "config/SettingsFile.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/**
 * The agent's support folder and the settings in it, which other programs write and the agent
 * reads. Nothing is remembered but the defaults: every call reads the file anew. Safe from any
 * thread.
 */
class SettingsStore {
public:
    /** `configHome` is the user's folder of configuration files, `hostName` the computer's name. */
    SettingsStore(std::filesystem::path configHome, const std::optional<std::string>& hostName);

    /** The folder "Korvane" in the config home. It is made if it is missing; where that fails, what
     *  is read from or written to it will fail in turn. */
    std::filesystem::path supportDirectory() const;

    /** What holds while there are no valid settings: no save folder, so the printer does not run.
     */
    const AppSettings& defaultSettings() const { return defaults_; }

    /** Where the settings are. */
    SettingsFile settingsFile() const;

    /** The settings in settings.json; all the defaults where it is missing, unreadable, larger than
     *  any settings are (1 MiB), or wrong in any one place. */
    AppSettings loadSettings() const;

    /** What keeps the printer from running with these settings, in words for the user; nothing
     * where it runs. */
    std::optional<std::string> problem() const;

    /** Leaves the build's version in agent-version for the settings application. */
    void writeVersionStamp(std::string_view build, Log& log) const;

private:
    std::filesystem::path configHome_;
    AppSettings defaults_;
};

} // namespace korvane
