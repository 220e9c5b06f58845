#pragma once

#include "base/Result.h"
#include "base/SystemError.h"
#include "event/Queue.h"
#include "net/TCPConnection.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <variant>

namespace korvane {

/** A port that can be listened on. Port 0, which asks the system for any port, is refused: a
 * printer has to be found again where it was. */
class TCPPort {
public:
    static std::optional<TCPPort> make(std::uint16_t number)
    {
        if (number == 0) return {};
        return TCPPort(number);
    }

    std::uint16_t number() const { return number_; }

private:
    explicit TCPPort(std::uint16_t number) : number_(number) {}

    std::uint16_t number_;
};

/** Listens on one port for connections over IPv6 and IPv4. */
class TCPListener {
public:
    struct Ready {};
    /** Connections cannot be accepted for now (descriptors or memory ran out); it goes on by
     * itself. */
    struct Waiting {
        SystemError error;
    };
    struct Failed {
        SystemError error;
    };
    struct Cancelled {};
    using State = std::variant<Ready, Waiting, Failed, Cancelled>;

    using StateHandler = std::function<void(const State&)>;
    using ConnectionHandler = std::function<void(std::shared_ptr<TCPConnection>)>;

    virtual ~TCPListener() = default;

    /** Starts listening. Both handlers run on the listener's queue, never from inside this call. */
    virtual void start(StateHandler onState, ConnectionHandler onConnection) = 0;

    /** Stops listening at once; `Cancelled` is told afterwards. */
    virtual void cancel() = 0;

    /** The port that is really bound, once ready. */
    virtual std::optional<std::uint16_t> port() const = 0;
};

/** Makes listeners. */
class TCPNetwork {
public:
    virtual ~TCPNetwork() = default;

    /** A listener whose address may be bound again at once after an earlier listener. All its work
     *  and that of its connections happens on `queue`, which outlives them. */
    virtual Result<std::shared_ptr<TCPListener>, SystemError> makeListener(TCPPort port,
                                                                           SerialQueue& queue) = 0;
};

} // namespace korvane
