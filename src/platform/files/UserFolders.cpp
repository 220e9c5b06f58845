#include "platform/files/UserFolders.h"

#include "platform/system/UserAccount.h"

#include <cstdlib>

namespace korvane {

namespace {

std::string_view variable(const char* name)
{
    const char* value = std::getenv(name);
    return value == nullptr ? std::string_view() : value;
}

bool isAbsolute(std::string_view path)
{
    return path.starts_with('/');
}

} // namespace

UserFolders makeUserFolders(std::string_view configHome, std::string_view home,
                            std::string_view accountHome)
{
    if (isAbsolute(configHome)) return {configHome};
    const std::filesystem::path base = isAbsolute(home) ? home : accountHome;
    return {base / ".config"};
}

UserFolders currentUserFolders()
{
    return makeUserFolders(variable("XDG_CONFIG_HOME"), variable("HOME"),
                           currentUserAccount().homeFolder);
}

} // namespace korvane
