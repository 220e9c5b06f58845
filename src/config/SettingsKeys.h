#pragma once

#include "config/AppSettings.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace korvane {

/** One setting as a person types and reads it. */
struct SettingsKey {
    /** As in settings.json. */
    std::string_view name;
    /** What it is for, in a few words. */
    std::string_view purpose;
    /** The value as text; "yes" or "no" for a flag. */
    std::string (*text)(const AppSettings&);
    /** Sets the value that the text stands for. For one that the printer cannot use, what is wrong
     *  with it, in words for the user, and the settings stay as they are. Looks at the disk for a
     *  folder. */
    std::optional<std::string> (*assign)(AppSettings&, std::string_view text);
};

/** All of them, in the order of AppSettings. */
std::span<const SettingsKey> settingsKeys();

/** Null for a name that is none. */
const SettingsKey* findSettingsKey(std::string_view name);

/** What keeps the printer from running with these settings, in words for the user; nothing where
 *  `isConfigured`. */
std::optional<std::string> configurationProblem(const AppSettings& settings);

/** What keeps documents from being saved in the folder for now, in words for the user. Waits for
 *  the disk. */
std::optional<std::string> saveFolderProblem(const std::string& folder);

} // namespace korvane
