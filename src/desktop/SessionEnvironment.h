#pragma once

#include "base/Lifetime.h"
#include "lib/systemd/SessionBus.h"

#include <functional>
#include <string>
#include <vector>

namespace korvane {

/**
 * The environment variables, as NAME=value, with which a program finds the user's display. A
 * service of the user may run before there is one; the desktop tells it to the user's service
 * manager (org.freedesktop.systemd1) when it has started. Used on the bus's queue.
 */
class SessionEnvironment {
public:
    using Variables = std::vector<std::string>;
    using Handler = std::function<void(const Variables&)>;

    /** `own` are the variables of this process. The bus outlives it. */
    SessionEnvironment(SessionBus& bus, Variables own) : bus_(bus), own_(std::move(own)) {}

    /** Gives the variables as they are now: ours, and where these name no display those of the
     *  service manager that we do not have. The handler is called once, perhaps at once. */
    void read(Handler handler);

private:
    Variables with(const Variables& others) const;

    SessionBus& bus_;
    const Variables own_;
    Lifetime lifetime_;
};

/** The variables of this process. */
SessionEnvironment::Variables processEnvironment();

/** Whether the variables name a display. */
bool hasDisplay(const SessionEnvironment::Variables& variables);

} // namespace korvane
