#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/** The account of the user that we run as, from the password database. */
struct UserAccount {
    /** The login name; the user id in digits for a user that the database does not know. */
    std::string loginName;
    /** The home folder; empty for a user that the database does not know. */
    std::string homeFolder;
};

UserAccount currentUserAccount();

/** Where the user's files are (XDG Base Directory Specification). */
struct UserFolders {
    /** The folder of configuration files, $XDG_CONFIG_HOME or ~/.config. */
    std::filesystem::path configHome;
    /** The folder of what programs keep between their runs, $XDG_STATE_HOME or ~/.local/state. */
    std::filesystem::path stateHome;
    std::filesystem::path home;
};

/** The folders of the user that we run as. */
UserFolders currentUserFolders();

/** Values of the environment that say where the user's files are. */
struct FolderVariables {
    std::string_view configHome; ///< XDG_CONFIG_HOME
    std::string_view stateHome;  ///< XDG_STATE_HOME
    std::string_view home;       ///< HOME
};

/** The folders for these values; one that is not an absolute path counts as not set (XDG Base
 *  Directory). `accountHome` stands in for HOME. */
UserFolders makeUserFolders(const FolderVariables& variables, std::string_view accountHome);

/** Where the user keeps documents: what user-dirs.dirs in the configuration folder says at this
 *  moment, else "Documents" in the home folder. */
std::filesystem::path documentsFolder(const UserFolders& user);

/** The user's locales by their names ("de_AT.UTF-8"), in order of preference. */
std::vector<std::string> currentUserLocales();

/** Values of the environment that choose the language of messages. */
struct LocaleVariables {
    std::string_view language; ///< LANGUAGE, a list with colons in between (gettext)
    std::string_view all;      ///< LC_ALL
    std::string_view messages; ///< LC_MESSAGES
    std::string_view lang;     ///< LANG
};

/** The locales for these values: those of LANGUAGE, which counts unless the locale is C or POSIX,
 *  and the first of the others that is set (POSIX, 8.2). Empty for the C locale. */
std::vector<std::string> makeUserLocales(const LocaleVariables& variables);

} // namespace korvane
