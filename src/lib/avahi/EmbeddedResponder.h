#pragma once

#include "base/Result.h"
#include "lib/avahi/AvahiResponder.h"

#include <avahi-common/watch.h>
#include <avahi-core/core.h>
#include <avahi-core/publish.h>

#include <memory>
#include <optional>
#include <string>

namespace korvane {

/** Publishes a service by answering on the multicast port itself (RFC 6762), beside whoever else is
 *  there. Lives on the queue of its AvahiPoll, which outlives it. */
class EmbeddedResponder final : public AvahiResponder {
public:
    /** Answers for the host `host`, or the machine's name up to the first dot, or the next of those
     *  that is free. Fails with Avahi's error where there is no multicast socket to be had. */
    static Result<std::unique_ptr<EmbeddedResponder>, int>
    start(const AvahiPoll* poll, const std::optional<std::string>& host, AvahiService service,
          AvahiResponderObserver& observer);

    ~EmbeddedResponder() override;

private:
    using AvahiResponder::AvahiResponder;

    void handleServer(AvahiServer* server, AvahiServerState state);
    void renameHost();
    void emptyGroup();
    int fillGroup(const AvahiService& service) override;
    int addToGroup(const AvahiService& service);
    int makeGroup();

    int hostConflicts_ = 0;
    AvahiServer* server_ = nullptr;
    AvahiSEntryGroup* group_ = nullptr;
};

} // namespace korvane
