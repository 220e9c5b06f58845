#include "platform/system/UserAccount.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

namespace korvane {

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

} // namespace korvane
