#include "config/SettingsFile.h"

#include "base/AtomicFile.h"
#include "base/Files.h"
#include "base/SystemError.h"
#include "config/SettingsKeys.h"

#include <fmt/format.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace korvane {

namespace {

using Error = SettingsFile::Error;

constexpr std::size_t maxSettingsSize = std::size_t{1024} * 1024;

Error accessError(const char* what, const std::filesystem::path& path, const SystemError& error)
{
    return {Error::Kind::access,
            fmt::format("{} cannot be {}: {}", path.native(), what, error.description())};
}

Error notSettings(const std::filesystem::path& path)
{
    return {Error::Kind::refused,
            fmt::format("{} does not hold valid settings: correct or remove it", path.native())};
}

} // namespace

AppSettings firstSettings(AppSettings defaults)
{
    defaults.ippEverywhere = true;
    return defaults;
}

Result<std::optional<std::string>, Error> SettingsFile::text() const
{
    const auto content = readFile(path_, maxSettingsSize);
    if (content) return std::string(content->text());
    if (content.error().code == ENOENT) return std::nullopt;
    return failure(accessError("read", path_, content.error()));
}

Result<std::optional<AppSettings>, Error> SettingsFile::read() const
{
    const auto former = text();
    if (!former) return failure(former.error());
    if (!*former) return std::nullopt;
    const auto settings = decodeSettings(**former);
    if (!settings) return failure(notSettings(path_));
    return settings;
}

Result<void, Error> SettingsFile::write(const AppSettings& settings) const
{
    if (auto problem = configurationProblem(settings))
        return failure(Error{Error::Kind::refused, *std::move(problem)});
    const auto former = text();
    if (!former) return failure(former.error());
    const auto encoded = encodeSettings(settings, *former);
    // What another reader would make of it is what counts.
    if (!encoded || encoded->size() > maxSettingsSize || decodeSettings(*encoded) != settings)
        return failure(notSettings(path_));
    createPrivateFolders(path_.parent_path());
    std::error_code error;
    auto target = std::filesystem::weakly_canonical(path_, error);
    if (error) target = path_;
    return writePrivateFileAtomically(target, Data::copying(*encoded).bytes())
        .map_error(
            [this](const SystemError& failed) { return accessError("written", path_, failed); });
}

} // namespace korvane
