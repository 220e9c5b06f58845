#pragma once

#include <string>

namespace korvane {

/** The account of the user that we run as, from the password database. */
struct UserAccount {
    /** The login name; the user id in digits for a user the database does not know. */
    std::string loginName;
    /** The home folder; empty for a user the database does not know. */
    std::string homeFolder;
};

UserAccount currentUserAccount();

} // namespace korvane
