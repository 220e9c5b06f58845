#pragma once

#include "base/Result.h"
#include "config/AppSettings.h"

#include <filesystem>
#include <optional>
#include <string>

namespace korvane {

/** settings.json, as programs that change the settings use it. Every call waits for the disk. */
class SettingsFile {
public:
    /** Why the file cannot be used, in words for the user. */
    struct Error {
        enum class Kind {
            /** It cannot be read or written. */
            access,
            /** What it holds, or would hold, are no settings that the printer runs with. */
            refused,
        };
        Kind kind = Kind::access;
        std::string description;
    };

    explicit SettingsFile(std::filesystem::path path) : path_(std::move(path)) {}

    const std::filesystem::path& path() const { return path_; }

    /** The settings in the file, or nothing where there is no file. */
    Result<std::optional<AppSettings>, Error> read() const;

    /**
     * Puts settings into the file, for its user's eyes only: its other members stay, a reader sees
     * the old file or the new, and a symbolic link stays one. Settings with which the printer would
     * not run are refused, and a file that is no JSON object is left to its owner.
     */
    Result<void, Error> write(const AppSettings& settings) const;

private:
    Result<std::optional<std::string>, Error> text() const;

    std::filesystem::path path_;
};

/** The settings to begin with where there is no file; they want for a folder. `defaults` as the
 *  agent has them. */
AppSettings firstSettings(AppSettings defaults);

} // namespace korvane
