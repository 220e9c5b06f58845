#include "base/User.h"

#include "base/Files.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <utility>
#include <vector>

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

/** More than any user-dirs.dirs that a user or a program has written. */
constexpr std::size_t maxUserDirectoriesSize = std::size_t{64} * 1024;

/** The text between quotation marks, as a shell reads it: a backslash is for the next character. */
std::string unquoted(std::string_view value)
{
    std::string text;
    for (std::size_t index = 1; index < value.size() && value[index] != '"'; ++index) {
        if (value[index] == '\\' && ++index == value.size()) break;
        text += value[index];
    }
    return text;
}

/** The folder of a line of user-dirs.dirs, which begins with "$HOME/" or is absolute; empty for any
 *  other line. */
std::filesystem::path documentsInLine(std::string_view line, const std::filesystem::path& home)
{
    static constexpr std::string_view key = "XDG_DOCUMENTS_DIR=\"", homeVariable = "$HOME/";
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    if (!line.starts_with(key)) return {};
    const std::string value = unquoted(line.substr(key.size() - 1));
    if (value.starts_with(homeVariable)) return home / value.substr(homeVariable.size());
    return isAbsolute(value) ? std::filesystem::path(value) : std::filesystem::path();
}

} // namespace

UserAccount currentUserAccount()
{
    const uid_t user = ::getuid();
    std::vector<char> texts(1024);
    passwd entry{};
    passwd* found = nullptr;
    while (::getpwuid_r(user, &entry, texts.data(), texts.size(), &found) == ERANGE) {
        texts.resize(2 * texts.size());
    }
    if (found == nullptr) return {std::to_string(user), {}};
    return {found->pw_name, found->pw_dir};
}

UserFolders makeUserFolders(const FolderVariables& variables, std::string_view accountHome)
{
    const std::filesystem::path home = isAbsolute(variables.home) ? variables.home : accountHome;
    const auto folder = [&](std::string_view value, const char* standard) {
        return isAbsolute(value) ? std::filesystem::path(value) : home / standard;
    };
    return {.configHome = folder(variables.configHome, ".config"),
            .stateHome = folder(variables.stateHome, ".local/state"),
            .home = home};
}

std::filesystem::path documentsFolder(const UserFolders& user)
{
    std::filesystem::path documents = user.home / "Documents";
    const auto lines = readFile(user.configHome / "user-dirs.dirs", maxUserDirectoriesSize);
    if (!lines) return documents;
    std::string_view rest = lines->text();
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        // The last line that names a folder counts, as when a shell reads the file.
        if (auto named = documentsInLine(line, user.home); !named.empty()) {
            documents = std::move(named);
        }
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    return documents;
}

UserFolders currentUserFolders()
{
    return makeUserFolders({.configHome = variable("XDG_CONFIG_HOME"),
                            .stateHome = variable("XDG_STATE_HOME"),
                            .home = variable("HOME")},
                           currentUserAccount().homeFolder);
}

std::vector<std::string> makeUserLocales(const LocaleVariables& variables)
{
    std::string_view locale = variables.lang;
    if (!variables.messages.empty()) locale = variables.messages;
    if (!variables.all.empty()) locale = variables.all;
    const std::string_view name = locale.substr(0, locale.find_first_of(".@"));
    if (name.empty() || name == "C" || name == "POSIX") return {};
    std::vector<std::string> locales;
    std::string_view rest = variables.language;
    while (!rest.empty()) {
        const std::string_view first = rest.substr(0, rest.find(':'));
        if (!first.empty()) locales.emplace_back(first);
        rest.remove_prefix(std::min(first.size() + 1, rest.size()));
    }
    if (std::ranges::find(locales, locale) == locales.end()) locales.emplace_back(locale);
    return locales;
}

std::vector<std::string> currentUserLocales()
{
    return makeUserLocales({.language = variable("LANGUAGE"),
                            .all = variable("LC_ALL"),
                            .messages = variable("LC_MESSAGES"),
                            .lang = variable("LANG")});
}

} // namespace korvane
