#pragma once

#include "lib/systemd/SessionBus.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

/** A session bus whose peers the test plays. */
class FakeSessionBus final : public SessionBus {
public:
    State state() const override { return state_; }

    void call(const BusCall& call, ReplyHandler handler) override
    {
        calls.push_back({call, std::move(handler)});
    }

    std::unique_ptr<Subscription> subscribe(BusMatch match, SignalHandler handler) override
    {
        return std::make_unique<Entry<Subscribed>>(
            signals_, Subscribed{std::move(match), std::move(handler)});
    }

    std::unique_ptr<Subscription> watchState(StateHandler handler) override
    {
        return std::make_unique<Entry<StateHandler>>(states_, std::move(handler));
    }

    void emit(const BusEmission& emission) override { emitted.push_back(emission); }

    std::unique_ptr<Subscription> offer(BusObject object) override
    {
        return std::make_unique<Entry<BusObject>>(offered, std::move(object));
    }

    void setState(State state)
    {
        state_ = state;
        const auto entries = states_;
        for (const auto* entry : entries) (*entry)(state);
    }

    /** The oldest call without an answer is answered. */
    BusCall answer(const BusReply& reply)
    {
        auto [call, handler] = std::move(calls.front());
        calls.pop_front();
        handler(reply);
        return call;
    }

    /** A peer sends a signal. */
    void emit(const BusSignal& signal)
    {
        const auto entries = signals_;
        for (const auto* entry : entries) {
            const std::string& member = entry->match.member;
            if (member.empty() || member == signal.member) entry->handler(signal);
        }
    }

    struct Call {
        BusCall call;
        ReplyHandler handler;
    };
    /** Calls that wait for the test to answer. */
    std::deque<Call> calls;

    /** The signals that were sent. */
    std::vector<BusEmission> emitted;
    /** The objects that are offered. */
    std::vector<const BusObject*> offered;

private:
    struct Subscribed {
        BusMatch match;
        SignalHandler handler;
    };

    /** In the list for as long as it lives. */
    template <typename T>
    class Entry final : public Subscription {
    public:
        Entry(std::vector<const T*>& entries, T value) : entries_(entries), value_(std::move(value))
        {
            entries_.push_back(&value_);
        }
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;
        ~Entry() override { std::erase(entries_, &value_); }

    private:
        std::vector<const T*>& entries_;
        const T value_;
    };

    State state_ = State::connected;
    std::vector<const Subscribed*> signals_;
    std::vector<const StateHandler*> states_;
};

} // namespace korvane
