#pragma once

#include "lib/avahi/AvahiService.h"

#include <avahi-common/defs.h>

#include <string>

namespace korvane {

class AvahiResponder;

/** Told what becomes of a service, from inside Avahi: the responder that tells must not be
 * destroyed before the call returns. */
class AvahiResponderObserver {
public:
    /** The responder answers for this host under that name: "desk" for desk.local. */
    virtual void answering(const AvahiResponder& responder, const std::string& host) = 0;
    virtual void published(const std::string& name) = 0;
    virtual void failed(const AvahiResponder& responder, int error) = 0;

protected:
    ~AvahiResponderObserver() = default;
};

/** Publishes one service through Avahi, under another name as often as its name is found taken, and
 *  withdraws it when destroyed. */
class AvahiResponder {
public:
    virtual ~AvahiResponder() = default;
    AvahiResponder(const AvahiResponder&) = delete;
    AvahiResponder& operator=(const AvahiResponder&) = delete;

protected:
    AvahiResponder(AvahiService service, AvahiResponderObserver& observer);

    /** Publishes the service, afresh when it is published already. */
    void publish();

    /** What the service's group of records has come to; `error` belongs to a failure. */
    void handleGroup(AvahiEntryGroupState state, int error);

    /** Publishes under the next name, unless too many were taken. */
    void handleCollision();

    /** The host's name in full, for example "desk.local". */
    void tellHost(const std::string& host);

    /** A failure without a code of its own is told as a failure all the same. */
    void fail(int error);

private:
    /** Replaces what the group holds by the service, and gives Avahi's error or zero. */
    virtual int fillGroup(const AvahiService& service) = 0;

    bool rename();

    AvahiService service_;
    AvahiResponderObserver& observer_;
    int renames_ = 0;
    int conflicts_ = 0;
};

} // namespace korvane
