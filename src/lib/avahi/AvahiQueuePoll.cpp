#include "lib/avahi/AvahiQueuePoll.h"

#include "base/FileDescriptor.h"

#include <avahi-common/timeval.h>
#include <fcntl.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

using korvane::AvahiQueuePoll;

namespace {

AvahiQueuePoll& pollOf(const AvahiPoll* api)
{
    return *static_cast<AvahiQueuePoll*>(api->userdata);
}

constexpr AvahiWatchEvent nothing{};

/** By how much a clock that is adjusted slowly may differ from ours in an hour, in microseconds. */
constexpr AvahiUsec maxDrift = 5'000'000;

} // namespace

/** A descriptor as Avahi watches one: again and again, until it says otherwise. */
struct AvahiWatch : std::enable_shared_from_this<AvahiWatch> {
    AvahiWatch(AvahiQueuePoll& poll, int watched, AvahiWatchCallback toCall, void* data)
        // D-Bus watches its connection twice, and a descriptor can be watched once only.
        : poll_(poll), own_(::fcntl(watched, F_DUPFD_CLOEXEC, 0)), descriptor_(watched),
          callback_(toCall), userdata_(data)
    {
        if (own_) watch_ = poll.queue_.watch(own_.get());
    }

    static AvahiWatch* make(const AvahiPoll* api, int descriptor, AvahiWatchEvent event,
                            AvahiWatchCallback callback, void* userdata)
    {
        try {
            AvahiQueuePoll& poll = pollOf(api);
            const auto watch = std::make_shared<AvahiWatch>(poll, descriptor, callback, userdata);
            if (!watch->own_) return nullptr;
            poll.watches_.push_back(watch);
            watch->want(event);
            return watch.get();
        } catch (const std::exception&) {
            return nullptr; // no memory or no watch to be had: C reads it from here
        }
    }

    void want(AvahiWatchEvent event)
    {
        wanted_ = event;
        if ((wanted_ & AVAHI_WATCH_IN) != 0 && !std::exchange(isReadRequested_, true)) {
            watch_->whenReadable([this] {
                isReadRequested_ = false;
                happen(AVAHI_WATCH_IN);
            });
        }
        if ((wanted_ & AVAHI_WATCH_OUT) != 0 && !std::exchange(isWriteRequested_, true)) {
            watch_->whenWritable([this] {
                isWriteRequested_ = false;
                happen(AVAHI_WATCH_OUT);
            });
        }
    }

    AvahiWatchEvent happened() const { return happened_; }

    /** May be called from inside the callback, which then ends first. */
    void free()
    {
        watch_.reset();
        std::erase_if(poll_.watches_, [this](const auto& entry) { return entry.get() == this; });
    }

private:
    void happen(AvahiWatchEvent event)
    {
        if ((wanted_ & event) == 0) return;
        const auto self = shared_from_this();
        happened_ = event;
        callback_(this, descriptor_, event, userdata_);
        happened_ = nothing;
        if (watch_) want(wanted_);
    }

    AvahiQueuePoll& poll_;
    const korvane::FileDescriptor own_;
    const int descriptor_;
    const AvahiWatchCallback callback_;
    void* const userdata_;
    AvahiWatchEvent wanted_ = nothing;
    AvahiWatchEvent happened_ = nothing;
    bool isReadRequested_ = false;
    bool isWriteRequested_ = false;
    std::unique_ptr<korvane::DescriptorWatch> watch_;
};

/** A moment to be called at, by the clock on the wall; none while disabled. */
struct AvahiTimeout {
    AvahiTimeout(AvahiQueuePoll& poll, AvahiTimeoutCallback toCall, void* data)
        : poll_(poll), callback_(toCall), userdata_(data)
    {
    }

    static AvahiTimeout* make(const AvahiPoll* api, const timeval* time,
                              AvahiTimeoutCallback callback, void* userdata)
    {
        try {
            AvahiQueuePoll& poll = pollOf(api);
            const auto timeout = std::make_shared<AvahiTimeout>(poll, callback, userdata);
            poll.timeouts_.push_back(timeout);
            timeout->set(time);
            return timeout.get();
        } catch (const std::exception&) {
            return nullptr;
        }
    }

    void set(const timeval* time)
    {
        task_.reset();
        if (time == nullptr) return;
        const auto delay = std::chrono::microseconds(std::max<AvahiUsec>(0, -avahi_age(time)));
        task_ = poll_.queue_.after(delay, [this, due = *time] {
            task_.reset();
            if (-avahi_age(&due) > maxDrift) poll_.onSetBack_();
            callback_(this, userdata_);
        });
    }

    void free()
    {
        std::erase_if(poll_.timeouts_, [this](const auto& entry) { return entry.get() == this; });
    }

private:
    AvahiQueuePoll& poll_;
    const AvahiTimeoutCallback callback_;
    void* const userdata_;
    std::unique_ptr<korvane::DelayedTask> task_;
};

namespace korvane {

AvahiQueuePoll::AvahiQueuePoll(SerialQueue& queue, std::function<void()> onSetBack)
    : queue_(queue), onSetBack_(std::move(onSetBack))
{
    api_.userdata = this;
    api_.watch_new = AvahiWatch::make;
    api_.watch_update = [](AvahiWatch* watch, AvahiWatchEvent event) { watch->want(event); };
    api_.watch_get_events = [](AvahiWatch* watch) { return watch->happened(); };
    api_.watch_free = [](AvahiWatch* watch) { watch->free(); };
    api_.timeout_new = AvahiTimeout::make;
    api_.timeout_update = [](AvahiTimeout* timeout, const timeval* time) { timeout->set(time); };
    api_.timeout_free = [](AvahiTimeout* timeout) { timeout->free(); };
}

AvahiQueuePoll::~AvahiQueuePoll() = default;

} // namespace korvane
