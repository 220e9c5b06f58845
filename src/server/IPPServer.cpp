#include "server/IPPServer.h"

#include "discovery/TXTRecord.h"
#include "platform/text/Text.h"

#include <fmt/format.h>

#include <cerrno>
#include <utility>

namespace korvane {

namespace {

constexpr const char* serviceType = "_ipp._tcp,_universal";

bool carriesIPP(const HTTPRequest& request)
{
    const std::string contentType = text::lowercased(request.header("content-type"));
    return contentType.find("application/ipp") != std::string::npos;
}

bool isPortUnavailable(const SystemError& error)
{
    return error.code == EADDRINUSE || error.code == EACCES;
}

} // namespace

std::string describe(const IPPServer::StartFailure& failure)
{
    return std::visit([](const auto& error) { return error.description(); }, failure);
}

std::shared_ptr<IPPServer> IPPServer::make(std::uint16_t configuredPort,
                                           IPPOperations::DescriptorProvider descriptorProvider,
                                           IPPOperations::JobHandler jobHandler,
                                           const ServerEnvironment& environment)
{
    return std::shared_ptr<IPPServer>(new IPPServer(configuredPort, std::move(descriptorProvider),
                                                    std::move(jobHandler), environment));
}

IPPServer::IPPServer(std::uint16_t configuredPort,
                     IPPOperations::DescriptorProvider descriptorProvider,
                     IPPOperations::JobHandler jobHandler, const ServerEnvironment& environment)
    : configuredPort_(configuredPort), descriptorProvider_(std::move(descriptorProvider)),
      main_(environment.queues.main()), network_(environment.network), log_(environment.log),
      queue_(environment.queues.makeSerial("ipp.server")),
      bonjour_(environment.queues, environment.directory, environment.log),
      interfaceMonitor_(environment.paths, environment.log),
      operations_(std::make_unique<IPPOperations>(*queue_, environment.queues.utility(),
                                                  environment.clock, environment.log, held_,
                                                  descriptorProvider_, std::move(jobHandler))),
      connections_(
          std::make_unique<ConnectionTable>(*queue_, environment.log, held_, environment.limits))
{
}

IPPServer::~IPPServer()
{
    stop();
    // Their delayed tasks belong to the queue, and so does their end.
    queue_->sync([this] {
        connections_.reset();
        operations_.reset();
    });
}

Result<void, IPPServer::StartFailure> IPPServer::start()
{
    Result<void, StartFailure> started;
    queue_->sync([this, &started] {
        shouldRun_ = true;
        restartDelay_.reset();
        reportedPortUnavailable_ = false;
        interfaceMonitor_.onChange = [weak = weak_from_this()](const auto&) {
            const auto self = weak.lock();
            if (self && self->shouldRun_ && self->port_ != 0) {
                self->publish(self->descriptorProvider_());
            }
        };
        interfaceMonitor_.start(*queue_);
        started = startListener();
    });
    return started;
}

Result<void, IPPServer::StartFailure> IPPServer::startListener()
{
    const auto port = TCPPort::make(configuredPort_);
    if (!port) return failure(StartFailure(StartError::invalidPort(configuredPort_)));
    auto listener = network_.makeListener(*port, *queue_);
    if (!listener) return failure(StartFailure(listener.error()));
    listener_ = std::move(*listener);
    listener_->start(
        [weakServer = weak_from_this(),
         weakListener = std::weak_ptr(listener_)](const TCPListener::State& state) {
            const auto self = weakServer.lock();
            const auto sender = weakListener.lock();
            if (self && sender) self->handleState(sender, state);
        },
        [weak = weak_from_this()](std::shared_ptr<TCPConnection> connection) {
            if (const auto self = weak.lock()) self->accept(std::move(connection));
        });
    return {};
}

void IPPServer::handleState(const std::shared_ptr<TCPListener>& listener,
                            const TCPListener::State& state)
{
    if (!listener_ && !shouldRun_) {
        if (std::holds_alternative<TCPListener::Cancelled>(state)) handleCancelled();
        return;
    }
    // A listener that a restart has replaced, or is about to, has nothing more to say.
    if (listener != listener_) return;
    if (std::holds_alternative<TCPListener::Ready>(state)) {
        handleReady();
    } else if (const auto* failed = std::get_if<TCPListener::Failed>(&state)) {
        handleFailure(failed->error);
    } else if (const auto* waiting = std::get_if<TCPListener::Waiting>(&state)) {
        log_.error("IPPServer: can't accept connections for now: " + waiting->error.description());
        connections_->closeMostSilent(waiting->error.description());
    } else {
        handleCancelled();
    }
}

void IPPServer::handleReady()
{
    const auto boundPort = listener_->port();
    if (!boundPort) return;
    port_ = *boundPort;
    restartDelay_.reset();
    const PrinterDescriptor descriptor = descriptorProvider_();
    log_.note(fmt::format("IPPServer: listening on port {} as \"{}\" uuid={}", port_,
                          descriptor.name, descriptor.uuid));
    publish(descriptor);
    main_.async([weak = weak_from_this(), port = port_] {
        const auto self = weak.lock();
        if (self && self->onReady) self->onReady(port);
    });
}

void IPPServer::handleFailure(const SystemError& error)
{
    if (isPortUnavailable(error)) {
        reportPortUnavailable(error);
    } else {
        log_.error("IPPServer: listener failed: " + error.description());
    }
    scheduleRestart();
}

void IPPServer::reportPortUnavailable(const SystemError& error)
{
    log_.error(fmt::format(
        "IPPServer: can't bind port {} ({}). Not advertising — the printer will be unavailable, "
        "and "
        "clients keep whatever they already cached, rather than being pointed at a different port. "
        "Free the port or change it in Settings; retrying meanwhile.",
        configuredPort_, error.description()));
    if (std::exchange(reportedPortUnavailable_, true)) return;
    main_.async([weak = weak_from_this(), error] {
        const auto self = weak.lock();
        if (self && self->onPortUnavailable) self->onPortUnavailable(self->configuredPort_, error);
    });
}

void IPPServer::handleCancelled()
{
    if (!shouldRun_) {
        log_.note("IPPServer: listener cancelled");
        return;
    }
    log_.error("IPPServer: listener cancelled unexpectedly");
    scheduleRestart();
}

void IPPServer::scheduleRestart()
{
    if (!shouldRun_) return;
    bonjour_.stop();
    closeListener();
    const std::chrono::seconds delay = restartDelay_.advance();
    log_.note(fmt::format("IPPServer: restarting listener in {}s", delay.count()));
    restartWork_ = queue_->after(delay, [weak = weak_from_this()] {
        const auto self = weak.lock();
        if (self && self->shouldRun_) self->restart();
    });
}

void IPPServer::restart()
{
    restartWork_.reset();
    const auto started = startListener();
    if (started) return;
    log_.error("IPPServer: listener restart failed: " + describe(started.error()));
    scheduleRestart();
}

void IPPServer::closeListener()
{
    if (const auto listener = std::exchange(listener_, nullptr)) listener->cancel();
    port_ = 0;
}

void IPPServer::stop()
{
    queue_->sync([this] {
        shouldRun_ = false;
        restartWork_.reset();
        interfaceMonitor_.stop();
        bonjour_.stop();
        closeListener();
    });
    // The listener's last state follows, and is waited for.
    queue_->sync([] {});
}

void IPPServer::republish()
{
    queue_->async([weak = weak_from_this()] {
        const auto self = weak.lock();
        if (self && self->port_ != 0) self->publish(self->descriptorProvider_());
    });
}

void IPPServer::publish(const PrinterDescriptor& descriptor)
{
    const auto& choice = interfaceMonitor_.current();
    log_.note(fmt::format("IPPServer: publishing \"{}\" on port {} via {}", descriptor.name, port_,
                          choice.description()));
    bonjour_.registerService({.name = descriptor.name,
                              .type = serviceType,
                              .port = port_,
                              .txt = makeTXTRecord(descriptor),
                              .interfaceIndex = choice.interfaceIndex});
}

void IPPServer::accept(std::shared_ptr<TCPConnection> connection)
{
    // The router holds the server: it lives on until its last client has been answered.
    auto client = std::make_shared<ClientConnection>(
        std::move(connection), *connections_,
        [self = shared_from_this()](const HTTPRequest& request,
                                    const ClientConnection::Answer& answer) {
            self->route(request, answer);
        },
        log_);
    if (connections_->admit(client)) client->start();
}

void IPPServer::route(const HTTPRequest& request, const ClientConnection::Answer& answer)
{
    if (carriesIPP(request)) {
        operations_->handleRequest(request, answer);
    } else if (request.method == "GET") {
        answer({.status = "200 OK",
                .contentType = "text/plain",
                .body = Data::copying("Korvane IPP endpoint\n")});
    } else {
        answer({.status = "415 Unsupported Media Type", .body = {}});
    }
}

} // namespace korvane
