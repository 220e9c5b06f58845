#pragma once

#include "base/Lifetime.h"
#include "lib/systemd/SessionBus.h"

#include <functional>
#include <memory>
#include <string>

namespace korvane {

/** Follows who owns a well-known name. Used and destroyed on the bus's queue. */
class BusNameWatch {
public:
    /** The unique name of the owner, empty while there is none. */
    using OwnerHandler = std::function<void(const std::string& owner)>;

    /** Tells each change of the owner, from none. It starts no service. */
    BusNameWatch(SessionBus& bus, std::string name, OwnerHandler onChange);

    const std::string& owner() const { return owner_; }

private:
    void askForOwner();
    void setOwner(const std::string& owner);

    SessionBus& bus_;
    const std::string name_;
    const OwnerHandler onChange_;
    std::string owner_;
    /** A signal has told the owner since we asked: the reply is out of date. */
    bool isTold_ = false;
    Lifetime lifetime_;
    std::unique_ptr<Subscription> changes_;
    std::unique_ptr<Subscription> state_;
};

} // namespace korvane
