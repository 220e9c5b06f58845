#pragma once

#include "discovery/AdvertisingInterfaceMonitor.h"
#include "discovery/BonjourRegistrar.h"
#include "ipp/PrinterDescriptor.h"
#include "platform/base/Result.h"
#include "platform/base/SystemError.h"
#include "platform/log/Log.h"
#include "platform/queue/Backoff.h"
#include "platform/queue/Queue.h"
#include "platform/system/Clock.h"
#include "platform/tcp/TCPListener.h"
#include "server/ConnectionTable.h"
#include "server/HeldBytes.h"
#include "server/IPPOperations.h"
#include "server/StartError.h"

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
    /** Where the printer is advertised; nowhere without. */
    ServiceDirectory* directory = nullptr;
    /** Where the choice of the advertised interface comes from; all interfaces without. */
    NetworkPaths* paths = nullptr;
    ConnectionTable::Limits limits = {};
};

/**
 * The printer's network face: IPP over HTTP/1.1 on one TCP port (RFC 8010, section 4).
 *
 * Keeps its listener alive, restarting it with growing delays; advertises the printer while it
 * listens; answers one request on each connection. All of its state belongs to its serial queue
 * "ipp.server". Connections that are open when the server stops, or is dropped, are left to finish.
 */
class IPPServer : public std::enable_shared_from_this<IPPServer> {
public:
    /** A port that can never work, or the system's refusal to make a listener. */
    using StartFailure = std::variant<StartError, SystemError>;

    /** Both handlers are called on the server's queue. */
    static std::shared_ptr<IPPServer> make(std::uint16_t configuredPort,
                                           IPPOperations::DescriptorProvider descriptorProvider,
                                           IPPOperations::JobHandler jobHandler,
                                           const ServerEnvironment& environment);
    ~IPPServer();
    IPPServer(const IPPServer&) = delete;
    IPPServer& operator=(const IPPServer&) = delete;

    /** Told the port on the main queue, each time the listener becomes ready. Set before `start`.
     */
    std::function<void(std::uint16_t port)> onReady;

    /** Told on the main queue that the port cannot be bound: once for each `start`, however many
     *  retries fail. Set before `start`. */
    std::function<void(std::uint16_t port, const SystemError& error)> onPortUnavailable;

    std::uint16_t configuredPort() const { return configuredPort_; }

    /** Starts listening and advertising. Called on any other queue than the server's. */
    Result<void, StartFailure> start();

    /** Stops listening, restarting and advertising, and returns when that is done. */
    void stop();

    /** Advertises again with a fresh descriptor, if listening. Returns at once. */
    void republish();

private:
    IPPServer(std::uint16_t configuredPort, IPPOperations::DescriptorProvider descriptorProvider,
              IPPOperations::JobHandler jobHandler, const ServerEnvironment& environment);

    Result<void, StartFailure> startListener();
    void handleState(const std::shared_ptr<TCPListener>& listener, const TCPListener::State& state);
    void handleReady();
    void handleFailure(const SystemError& error);
    void handleCancelled();
    void reportPortUnavailable(const SystemError& error);
    void scheduleRestart();
    void restart();
    void closeListener();
    void accept(std::shared_ptr<TCPConnection> connection);
    void route(const HTTPRequest& request, const ClientConnection::Answer& answer);
    void publish(const PrinterDescriptor& descriptor);

    const std::uint16_t configuredPort_;
    const IPPOperations::DescriptorProvider descriptorProvider_;
    SerialQueue& main_;
    TCPNetwork& network_;
    Log& log_;
    std::shared_ptr<SerialQueue> queue_;
    BonjourRegistrar bonjour_;
    AdvertisingInterfaceMonitor interfaceMonitor_;
    const HeldBytes held_;
    std::unique_ptr<IPPOperations> operations_;
    std::unique_ptr<ConnectionTable> connections_;
    std::shared_ptr<TCPListener> listener_;
    std::uint16_t port_ = 0;
    bool shouldRun_ = false;
    std::unique_ptr<DelayedTask> restartWork_;
    Backoff restartDelay_;
    bool reportedPortUnavailable_ = false;
};

/** The failure in words, as log lines and notices carry it. */
std::string describe(const IPPServer::StartFailure& failure);

} // namespace korvane
