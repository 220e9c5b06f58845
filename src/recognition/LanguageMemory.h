#pragma once

#include "base/Log.h"
#include "recognition/LanguageChoice.h"

#include <string>
#include <utility>
#include <vector>

namespace korvane {

/** What is known of languages before a document is looked at. */
class LanguageMemory {
public:
    /** The user's languages, in order of preference. */
    explicit LanguageMemory(std::vector<std::string> users) : users_(std::move(users)) {}

    LanguageOptions options(std::vector<std::string> installed) const
    {
        return {.installed = std::move(installed), .users = users_, .earlier = earlier_};
    }

    /** A page was read well in this language. */
    void remember(const std::string& language);

    /** Logs which package is missing: once that there is none, once that the user's is not there.
     */
    void logMissing(const std::vector<std::string>& installed, Log& log);

private:
    std::vector<std::string> users_;
    /** The latest first. */
    std::vector<std::string> earlier_;
    bool isMissingAllLogged_ = false;
    bool isMissingFirstLogged_ = false;
};

} // namespace korvane
