#pragma once

#include "base/HostName.h"
#include "event/Queue.h"
#include "event/Subscription.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

namespace korvane {

/**
 * The name by which other machines find this one, as `NAME.local.`: the one that an mDNS responder
 * answers to, which is another than the system's where that was taken; else the system's. Any
 * thread.
 */
class HostNames {
public:
    using SystemName = std::function<std::optional<std::string>()>;

    /** What a responder on this machine answers to. */
    struct Answering {
        std::string name;
        /** The system's name that it was made from: it counts until the system has another.
         *  Absent where the responder does not care for the system's name. */
        std::optional<std::string> systemName;
    };

    explicit HostNames(SystemName systemName = hostName);
    ~HostNames();
    HostNames(const HostNames&) = delete;
    HostNames& operator=(const HostNames&) = delete;

    /** Nothing when the machine has no name. */
    std::optional<std::string> current() const;

    std::optional<std::string> systemName() const { return systemName_(); }

    /** Nothing: no responder is known any more. */
    void setAnswering(std::optional<Answering> answering);

    /** Calls `onChange` on the queue whenever the current name has become another, for as long as
     *  the result lives, which is made and destroyed on that queue. */
    [[nodiscard]] std::unique_ptr<Subscription> watch(SerialQueue& queue, Task onChange);

private:
    class Watch;

    std::optional<std::string> currentLocked() const;
    void tellChange();

    const SystemName systemName_;
    mutable std::mutex mutex_;
    std::optional<Answering> answering_;
    /** The current name as the watches were last told. */
    std::optional<std::string> told_;
    std::set<Watch*> watches_;
};

} // namespace korvane
