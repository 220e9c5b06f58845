#pragma once

#include <filesystem>
#include <string_view>

namespace korvane {

/** Where the user's files are, after the XDG Base Directory rules. */
struct UserFolders {
    /** The folder of configuration files, $XDG_CONFIG_HOME or ~/.config. */
    std::filesystem::path configHome;
    std::filesystem::path home;
};

/** The folders of the user that we run as. */
UserFolders currentUserFolders();

/** The folders for these values of XDG_CONFIG_HOME and HOME; as the XDG rules ask, a value
 *  that is not an absolute path counts as not set. `accountHome` stands in for HOME. */
UserFolders makeUserFolders(std::string_view configHome, std::string_view home,
                            std::string_view accountHome);

/** Where the user keeps documents: what user-dirs.dirs in the configuration folder says at this
 *  moment, else "Documents" in the home folder. */
std::filesystem::path documentsFolder(const UserFolders& user);

} // namespace korvane
