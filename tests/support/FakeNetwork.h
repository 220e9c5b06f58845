#pragma once

#include "base/Data.h"
#include "net/TCPListener.h"

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace korvane {

/** A client's end, played by the test. */
class FakeConnection final : public TCPConnection {
public:
    explicit FakeConnection(std::string peer = "desk") : peer_(std::move(peer)) {}

    std::string peerAddress() const override { return peer_; }
    bool isPeerLocal() const override { return peer_.starts_with("local"); }

    void receive(std::size_t /*maximum*/, ReceiveHandler handler) override
    {
        onReceived_ = std::move(handler);
        deliver();
    }

    void send(std::vector<Data> pieces, SendHandler handler) override
    {
        for (const Data& piece : pieces) answer += piece.text();
        if (handler) handler({});
    }

    void finishSending() override { finishedSending = true; }

    void cancel() override
    {
        onReceived_ = nullptr;
        closed = true;
    }

    /** The client sends something. */
    void clientSends(std::string_view bytes)
    {
        waiting_.push_back({.bytes = std::string(bytes), .ended = false, .error = {}});
        deliver();
    }

    void clientFinishes()
    {
        waiting_.push_back({.bytes = {}, .ended = true, .error = {}});
        deliver();
    }

    void clientBreaksOff(int error)
    {
        waiting_.push_back({.bytes = {}, .ended = false, .error = SystemError{error}});
        deliver();
    }

    /** Whether the server leaves bytes of the client where they are. */
    bool isHeldBack() const { return !waiting_.empty(); }

    /** All that the client was sent. */
    std::string answer;
    bool finishedSending = false;
    bool closed = false;

private:
    struct Waiting {
        std::string bytes;
        bool ended = false;
        std::optional<SystemError> error;
    };

    void deliver()
    {
        while (onReceived_ && !waiting_.empty()) {
            const Waiting next = std::move(waiting_.front());
            waiting_.pop_front();
            const ReceiveHandler handler = std::exchange(onReceived_, nullptr);
            const Data bytes = Data::copying(std::string_view(next.bytes));
            handler({.bytes = bytes.bytes(), .ended = next.ended, .error = next.error});
        }
    }

    const std::string peer_;
    ReceiveHandler onReceived_;
    std::deque<Waiting> waiting_;
};

/** A listener whose states the test tells. */
class FakeListener final : public TCPListener {
public:
    explicit FakeListener(std::uint16_t port) : port_(port) {}

    void start(StateHandler onState, ConnectionHandler onConnection) override
    {
        tell = std::move(onState);
        onConnection_ = std::move(onConnection);
    }
    void cancel() override { cancelled = true; }
    std::optional<std::uint16_t> port() const override { return port_; }

    std::shared_ptr<FakeConnection> connect(const std::string& peer = "desk")
    {
        auto connection = std::make_shared<FakeConnection>(peer);
        onConnection_(connection);
        return connection;
    }

    StateHandler tell;
    bool cancelled = false;

private:
    ConnectionHandler onConnection_;
    std::uint16_t port_;
};

/** A network of fake listeners. */
class FakeNetwork final : public TCPNetwork {
public:
    Result<std::shared_ptr<TCPListener>, SystemError> makeListener(TCPPort port,
                                                                   SerialQueue& /*queue*/) override
    {
        if (!refusals.empty()) {
            const SystemError refusal = refusals.front();
            refusals.pop_front();
            return failure(refusal);
        }
        listeners.push_back(std::make_shared<FakeListener>(port.number()));
        return std::shared_ptr<TCPListener>(listeners.back());
    }

    FakeListener& latest() { return *listeners.back(); }

    /** Errors for the next calls. */
    std::deque<SystemError> refusals;
    /** Every listener that was made; kept, as late states come from listeners that are done for. */
    std::vector<std::shared_ptr<FakeListener>> listeners;
};

} // namespace korvane
