#pragma once

#include <string>

namespace korvane {

/** A warning that stays until the user dismisses it. */
class Alert {
public:
    virtual ~Alert() = default;

    /** Shows the warning: what has happened, and why. Returns at once. Both may hold anybody's
     *  text. */
    virtual void warn(const std::string& message, const std::string& information) = 0;
};

} // namespace korvane
