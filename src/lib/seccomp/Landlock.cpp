#include "lib/seccomp/Landlock.h"

#include "base/FileDescriptor.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <vector>

namespace korvane {

namespace {

using std::filesystem::path;

/** Fonts, recognition data, and the tables of character sets and time zones. */
constexpr const char* systemPaths[] = {
    "/usr/share",
    "/usr/local/share",
    "/usr/lib",
    "/etc/fonts",
    "/var/cache/fontconfig",
    "/etc/localtime",
    // How many threads the C library assumes can run at once.
    "/sys/devices/system/cpu",
};

/** Below the home folder. */
constexpr const char* homePaths[] = {".fonts", ".fonts.conf", ".fonts.conf.d", ".fontconfig"};

/** Below the XDG base directories, which environment variables can set. */
struct UserFolder {
    const char* variable;
    const char* standard;
    const char* inside;
};
constexpr UserFolder userFolders[] = {
    {"XDG_DATA_HOME", ".local/share", "fonts"},
    {"XDG_CACHE_HOME", ".cache", "fontconfig"},
    {"XDG_CONFIG_HOME", ".config", "fontconfig"},
};

path variable(const char* name)
{
    const char* const value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): the only thread
    return value ? value : "";
}

std::vector<path> readablePaths()
{
    std::vector<path> paths(std::begin(systemPaths), std::end(systemPaths));
    const path home = variable("HOME");
    for (const char* const inside : homePaths) paths.push_back(home / inside);
    for (const auto& [name, standard, inside] : userFolders) {
        const path set = variable(name);
        paths.push_back((set.is_absolute() ? set : home / standard) / inside);
    }
    std::erase_if(paths, [](const path& each) { return !each.is_absolute(); });
    return paths;
}

/** The version of Landlock's interface; below 1 where there is none. */
long landlockVersion()
{
    return ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
}

/** Every right on files that this version handles. A right that it does not know would be an error,
 *  and the C library's headers may be older than the kernel: so by the number of rights. */
std::uint64_t rightsOf(long version)
{
    constexpr int rights[] = {13, 14, 15, 15, 16};
    const long latest = std::ssize(rights);
    return (std::uint64_t{1} << rights[std::min(version, latest) - 1]) - 1;
}

Result<void, SystemError> allowReading(int ruleset, const path& where)
{
    const FileDescriptor place(::open(where.c_str(), O_PATH | O_CLOEXEC));
    struct stat status {};
    // Not every system has all of them.
    if (!place || ::fstat(place.get(), &status) != 0) return {};
    landlock_path_beneath_attr rule{.allowed_access = LANDLOCK_ACCESS_FS_READ_FILE,
                                    .parent_fd = place.get()};
    if (S_ISDIR(status.st_mode)) rule.allowed_access |= LANDLOCK_ACCESS_FS_READ_DIR;
    if (::syscall(SYS_landlock_add_rule, ruleset, LANDLOCK_RULE_PATH_BENEATH, &rule, 0) != 0)
        return failure(SystemError::last());
    return {};
}

} // namespace

Result<void, SystemError> restrictFileAccess()
{
    const long version = landlockVersion();
    if (version < 1) return {};
    landlock_ruleset_attr handled{};
    handled.handled_access_fs = rightsOf(version);
    const FileDescriptor ruleset(
        static_cast<int>(::syscall(SYS_landlock_create_ruleset, &handled, sizeof handled, 0)));
    if (!ruleset) return failure(SystemError::last());
    for (const path& where : readablePaths()) {
        if (auto allowed = allowReading(ruleset.get(), where); !allowed) return allowed;
    }
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        ::syscall(SYS_landlock_restrict_self, ruleset.get(), 0) != 0)
        return failure(SystemError::last());
    return {};
}

} // namespace korvane
