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
    virtual void published(const std::string& name) = 0;
    virtual void failed(const AvahiResponder& responder, int error) = 0;

protected:
    ~AvahiResponderObserver() = default;
};

/** Publishes one service through Avahi, under another name as often as its name is found taken, and
 *  withdraws it when destroyed. Lives on the queue of its AvahiPoll, which outlives it. */
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

    /** A failure without a code of its own is told as a failure all the same. */
    void fail(int error);

private:
    /** Replaces what the group holds by the service, and gives Avahi's error or zero. */
    virtual int fillGroup(const AvahiService& service) = 0;

    void rename();

    AvahiService service_;
    AvahiResponderObserver& observer_;
};

} // namespace korvane
