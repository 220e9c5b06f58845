#pragma once

#include "base/Clock.h"
#include "base/Log.h"
#include "base/Result.h"
#include "base/SystemError.h"
#include "discovery/AdvertisingInterfaceMonitor.h"
#include "discovery/BonjourRegistrar.h"
#include "event/Backoff.h"
#include "event/Queue.h"
#include "ipp/PrinterDescriptor.h"
#include "net/TCPListener.h"
#include "recognition/DocumentService.h"
#include "server/ConnectionTable.h"
#include "server/PrinterCallbacks.h"
#include "spool/Spool.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <variant>

namespace korvane {

/** What an IPP server stands on. All of it outlives the server. */
struct ServerEnvironment {
    Queues& queues;
    TCPNetwork& network;
    const Clock& clock;
    Log& log;
    Spool& spool;
    DocumentService& documents;
    /** Where the printer is advertised; nowhere without. */
    ServiceDirectory* directory = nullptr;
    /** Where the choice of the advertised interface comes from; all interfaces without. */
    NetworkPaths* paths = nullptr;
    ConnectionTable::Limits limits = {};
};

/** The configured port is none that can be listened on, whatever the state of the machine. */
struct StartError {
    std::uint16_t invalidPort = 0;

    /** For example "0 isn't a usable TCP port." */
    std::string description() const
    {
        return std::to_string(invalidPort) + " isn't a usable TCP port.";
    }
};

/**
 * The printer's network face: IPP over HTTP/1.1 on one TCP port (RFC 8010, section 4).
 *
 * Keeps its listener alive, restarting it with growing delays; advertises the printer while it
 * listens; answers one request on each connection. All of its state belongs to its serial queue
 * "ipp.server". It owns its connections: those open when it stops are left to finish, those open
 * when it is destroyed are closed.
 */
class IPPServer : public std::enable_shared_from_this<IPPServer> {
public:
    /** A port that can never work, or the system's refusal to make a listener. */
    using StartFailure = std::variant<StartError, SystemError>;

    static std::shared_ptr<IPPServer> make(std::uint16_t configuredPort, PrinterCallbacks printer,
                                           const ServerEnvironment& environment);
    ~IPPServer();
    IPPServer(const IPPServer&) = delete;
    IPPServer& operator=(const IPPServer&) = delete;

    /** Told the port on the main queue, each time the listener becomes ready. Set before `start`,
     *  changed on the main queue only. */
    std::function<void(std::uint16_t port)> onReady;

    /** Told on the main queue that the port cannot be bound: once for each `start`, however many
     *  retries fail. Set before `start`, changed on the main queue only. */
    std::function<void(std::uint16_t port, const SystemError& error)> onPortUnavailable;

    /** Told on the main queue the name under which the printer is advertised, empty once it is not
     *  any more. Set before `start`, changed on the main queue only. */
    std::function<void(const std::string& name)> onNetworkNameChange;

    std::uint16_t configuredPort() const { return configuredPort_; }

    /** Starts listening and advertising. Called on any other queue than the server's. */
    Result<void, StartFailure> start();

    /** Stops listening, restarting and advertising, and returns when that is done. `whenFinished`
     *  is called on the main queue once no connection is open any more. */
    void stop(Task whenFinished);

    /** Advertises again with a fresh descriptor, if listening. Returns at once. */
    void republish();

private:
    struct Stopped {};
    struct Starting {
        std::shared_ptr<TCPListener> listener;
    };
    struct Listening {
        std::shared_ptr<TCPListener> listener;
        std::uint16_t port = 0;
    };
    struct WaitingToRestart {
        std::unique_ptr<DelayedTask> restart;
    };

    IPPServer(std::uint16_t configuredPort, PrinterCallbacks printer,
              const ServerEnvironment& environment);

    Result<void, StartFailure> startListener();
    void handleState(const std::shared_ptr<TCPListener>& listener, const TCPListener::State& state);
    void handle(TCPListener::Ready state);
    void handle(const TCPListener::Waiting& state);
    void handle(const TCPListener::Failed& state);
    void handle(TCPListener::Cancelled state);
    void reportPortUnavailable(const SystemError& error);
    void scheduleRestart();
    void restart();
    void stopListening();
    std::shared_ptr<TCPListener> listener() const;
    void publishIfListening();
    void publish(const PrinterDescriptor& descriptor, std::uint16_t port);

    const std::uint16_t configuredPort_;
    const std::function<PrinterDescriptor()> descriptorProvider_;
    SerialQueue& main_;
    TCPNetwork& network_;
    Log& log_;
    std::shared_ptr<SerialQueue> queue_;
    BonjourRegistrar bonjour_;
    AdvertisingInterfaceMonitor interfaceMonitor_;
    std::unique_ptr<ConnectionTable> connections_;
    std::variant<Stopped, Starting, Listening, WaitingToRestart> state_;
    Backoff restartDelay_;
    bool reportedPortUnavailable_ = false;
};

/** The failure in words, as log lines and notices carry it. */
std::string describe(const IPPServer::StartFailure& failure);

} // namespace korvane
