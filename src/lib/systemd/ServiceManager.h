#pragma once

#include <string>
#include <string_view>

namespace korvane {

/** Tells the service manager how we are, where one started us (sd_notify(3)); it is never waited
 *  for. Safe from any thread. */
class ServiceManager {
public:
    /** `socket` is the value of NOTIFY_SOCKET; empty where nobody wants to know. */
    explicit ServiceManager(std::string socket) : socket_(std::move(socket)) {}

    /** Start-up is over. */
    void ready() const { tell("READY=1"); }

    /** What we are doing, in one line for the user to read. */
    void status(std::string_view text) const;

    /** The end has begun. */
    void stopping() const { tell("STOPPING=1"); }

private:
    void tell(std::string_view state) const;

    const std::string socket_;
};

/** The socket of the service manager that started us, from the environment. */
std::string serviceManagerSocket();

} // namespace korvane
