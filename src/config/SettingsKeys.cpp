#include "config/SettingsKeys.h"

#include "base/Files.h"
#include "text/CodePoints.h"
#include "text/Text.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace korvane {

namespace {

using Problem = std::optional<std::string>;

constexpr const char* notText = "That is not text in UTF-8";
constexpr const char* blankName = "A printer needs a name";
constexpr const char* noFolder = "No save folder is chosen";
constexpr const char* privilegedPort = "A port is a number from 1024 to 65535";

bool holdsControls(std::string_view text)
{
    return std::ranges::any_of(text::codePoints(text), text::isControl);
}

Problem assignName(AppSettings& settings, std::string_view text)
{
    if (!text::isWellFormedUTF8(text)) return notText;
    if (text::trimmingSpace(text).empty()) return blankName;
    if (holdsControls(text)) return "A printer's name is one line";
    settings.printerName = text;
    return {};
}

Problem assignFolder(AppSettings& settings, std::string_view text)
{
    if (!text::isWellFormedUTF8(text)) return notText;
    std::string folder(text);
    if (Problem problem = saveFolderProblem(folder)) return problem;
    settings.saveDirectoryPath = std::move(folder);
    return {};
}

Problem assignNotesFolder(AppSettings& settings, std::string_view text)
{
    if (!text::isWellFormedUTF8(text)) return notText;
    if (holdsControls(text)) return "The name of a folder of notes is one line";
    settings.notesFolder = text;
    return {};
}

Problem assignPort(AppSettings& settings, std::string_view text)
{
    AppSettings changed = settings;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), changed.ippPort);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    if (!isNumber || !isUnprivilegedPort(changed.ippPort)) return privilegedPort;
    settings = changed;
    return {};
}

template <bool AppSettings::*flag>
Problem assignFlag(AppSettings& settings, std::string_view text)
{
    constexpr std::array<std::string_view, 3> on = {"yes", "true", "on"};
    constexpr std::array<std::string_view, 3> off = {"no", "false", "off"};
    const bool isOn = std::ranges::find(on, text) != on.end();
    if (!isOn && std::ranges::find(off, text) == off.end())
        return "This is turned on with \"yes\" and off with \"no\"";
    settings.*flag = isOn;
    return {};
}

template <bool AppSettings::*flag>
std::string flagText(const AppSettings& settings)
{
    return settings.*flag ? "yes" : "no";
}

template <std::string AppSettings::*member>
std::string plainText(const AppSettings& settings)
{
    return settings.*member;
}

std::string portText(const AppSettings& settings)
{
    return std::to_string(settings.ippPort);
}

constexpr std::array keys{
    SettingsKey{"printerName", "the printer's name on the network",
                plainText<&AppSettings::printerName>, assignName},
    SettingsKey{"saveDirectoryPath", "the folder for the documents",
                plainText<&AppSettings::saveDirectoryPath>, assignFolder},
    SettingsKey{"notesEnabled", "whether notifications offer to add a note",
                flagText<&AppSettings::notesEnabled>, assignFlag<&AppSettings::notesEnabled>},
    SettingsKey{"notesFolder", "the folder of notes", plainText<&AppSettings::notesFolder>,
                assignNotesFolder},
    SettingsKey{"ippPort", "the TCP port of the printer", portText, assignPort},
    SettingsKey{"ippEverywhere", "whether it is an IPP Everywhere printer",
                flagText<&AppSettings::ippEverywhere>, assignFlag<&AppSettings::ippEverywhere>},
};

} // namespace

std::span<const SettingsKey> settingsKeys()
{
    return keys;
}

const SettingsKey* findSettingsKey(std::string_view name)
{
    const auto* const found = std::ranges::find(keys, name, &SettingsKey::name);
    return found == keys.end() ? nullptr : found;
}

std::optional<std::string> configurationProblem(const AppSettings& settings)
{
    if (isConfigured(settings)) return {};
    if (settings.saveDirectoryPath.empty()) return noFolder;
    return isUnprivilegedPort(settings.ippPort) ? blankName : privilegedPort;
}

std::optional<std::string> saveFolderProblem(const std::string& folder)
{
    if (folder.empty()) return noFolder;
    if (!folder.starts_with('/'))
        return fmt::format("\"{}\" is not an absolute path, which begins with \"/\"", folder);
    if (!canNameFile(folder) || !fileExists(folder))
        return fmt::format("There is no folder {}", folder);
    if (!isDirectory(folder)) return fmt::format("{} is not a folder", folder);
    if (::access(folder.c_str(), W_OK | X_OK) != 0)
        return fmt::format("You may not write to the folder {}", folder);
    return {};
}

} // namespace korvane
