#include "server/IPPServer.h"

#include "discovery/TXTRecord.h"
#include "server/BasicProfile.h"
#include "server/EverywhereProfile.h"
#include "server/FixedAnswerReader.h"
#include "server/IPPRequestReader.h"
#include "server/JobIntake.h"
#include "server/JobReception.h"
#include "text/Text.h"

#include <fmt/format.h>

#include <cerrno>
#include <utility>

namespace korvane {

namespace {

bool carriesIPP(const HTTPRequest& request)
{
    const std::string contentType = text::lowercased(request.header("content-type"));
    return contentType.find("application/ipp") != std::string::npos;
}

/** Browsers name the origin of a page that sends something (RFC 6454 section 7), and nobody else
 *  does. */
bool isFromWebPage(const HTTPRequest& request)
{
    return request.headers.contains("origin");
}

bool isPortUnavailable(const SystemError& error)
{
    return error.code == EADDRINUSE || error.code == EACCES;
}

/** Tells requests that carry IPP from others by their content type, before their method. As which
 *  printer it answers is asked anew for each: the user may change it. */
ClientConnection::Router makeRouter(std::shared_ptr<JobReception> jobs)
{
    const std::shared_ptr<IPPProfile> basic = std::make_shared<BasicProfile>(jobs);
    const std::shared_ptr<IPPProfile> everywhere = std::make_shared<EverywhereProfile>(jobs);
    return [jobs = std::move(jobs), basic,
            everywhere](const HTTPRequestParser::Head& head,
                        RequestClient client) -> std::shared_ptr<RequestReader> {
        const HTTPRequest& request = head.request;
        const PrinterProfile profile = jobs->printer().descriptor().profile;
        const auto& operations = profile == PrinterProfile::basic ? basic : everywhere;
        if (!carriesIPP(request)) {
            return std::make_shared<FixedAnswerReader>(operations->answer(request),
                                                       std::move(client));
        }
        if (isFromWebPage(request)) {
            jobs->log().error("IPPServer: refusing a request of a web page");
            client.answer({.status = "403 Forbidden", .body = {}});
            return nullptr;
        }
        return std::make_shared<IPPRequestReader>(
            IPPRequestReader::Printer{profile, operations, jobs->log()}, head.bodyLength,
            std::move(client));
    };
}

} // namespace

std::string describe(const IPPServer::StartFailure& failure)
{
    return std::visit([](const auto& error) { return error.description(); }, failure);
}

std::shared_ptr<IPPServer> IPPServer::make(std::uint16_t configuredPort, PrinterCallbacks printer,
                                           const ServerEnvironment& environment)
{
    std::shared_ptr<IPPServer> server(
        new IPPServer(configuredPort, std::move(printer), environment));
    server->bonjour_.onNameChange = [weak = server->weak_from_this(),
                                     &main = environment.queues.main()](const std::string& name) {
        main.async([weak, name] {
            const auto self = weak.lock();
            if (self && self->onNetworkNameChange) self->onNetworkNameChange(name);
        });
    };
    return server;
}

IPPServer::IPPServer(std::uint16_t configuredPort, PrinterCallbacks printer,
                     const ServerEnvironment& environment)
    : configuredPort_(configuredPort), descriptorProvider_(printer.descriptor),
      main_(environment.queues.main()), network_(environment.network), log_(environment.log),
      queue_(environment.queues.makeSerial("ipp.server")),
      bonjour_(environment.queues, environment.directory, environment.log),
      interfaceMonitor_(environment.paths, environment.log)
{
    const IntakeEnvironment intake{.queue = queue_,
                                   .background = environment.queues.background(),
                                   .spool = environment.spool,
                                   .documents = environment.documents,
                                   .log = environment.log};
    connections_ = std::make_unique<ConnectionTable>(
        queue_, log_, environment.limits,
        makeRouter(std::make_shared<JobReception>(
            std::make_shared<JobIntake>(intake, std::move(printer)), environment.clock)));
}

IPPServer::~IPPServer()
{
    // The delayed tasks of connections and operations belong to the queue, and so does their end.
    queue_->sync([this] {
        stopListening();
        connections_.reset();
    });
}

Result<void, IPPServer::StartFailure> IPPServer::start()
{
    Result<void, StartFailure> started;
    queue_->sync([this, &started] {
        restartDelay_.reset();
        reportedPortUnavailable_ = false;
        interfaceMonitor_.onChange = [weak = weak_from_this()](const auto&) {
            if (const auto self = weak.lock()) self->publishIfListening();
        };
        interfaceMonitor_.start(*queue_);
        started = startListener();
    });
    return started;
}

Result<void, IPPServer::StartFailure> IPPServer::startListener()
{
    const auto port = TCPPort::make(configuredPort_);
    if (!port) return failure(StartFailure(StartError{.invalidPort = configuredPort_}));
    auto listener = network_.makeListener(*port, *queue_);
    if (!listener) return failure(StartFailure(listener.error()));
    state_ = Starting{*listener};
    (*listener)->start(
        [weakServer = weak_from_this(),
         weakListener = std::weak_ptr(*listener)](const TCPListener::State& state) {
            const auto self = weakServer.lock();
            const auto sender = weakListener.lock();
            if (self && sender) self->handleState(sender, state);
        },
        [weak = weak_from_this()](std::shared_ptr<TCPConnection> connection) {
            if (const auto self = weak.lock()) self->connections_->accept(std::move(connection));
        });
    return {};
}

void IPPServer::handleState(const std::shared_ptr<TCPListener>& sender,
                            const TCPListener::State& state)
{
    if (std::holds_alternative<Stopped>(state_)) {
        if (std::holds_alternative<TCPListener::Cancelled>(state))
            log_.note("IPPServer: listener cancelled");
    } else if (sender == listener()) { // and not one that a restart has replaced, or is about to
        std::visit([this](const auto& known) { handle(known); }, state);
    }
}

void IPPServer::handle(TCPListener::Ready /*state*/)
{
    const auto listening = listener();
    const auto port = listening->port();
    if (!port) return;
    state_ = Listening{listening, *port};
    restartDelay_.reset();
    const PrinterDescriptor descriptor = descriptorProvider_();
    log_.note(fmt::format("IPPServer: listening on port {} as \"{}\" uuid={}", *port,
                          descriptor.name, descriptor.uuid));
    publish(descriptor, *port);
    main_.async([weak = weak_from_this(), port = *port] {
        const auto self = weak.lock();
        if (self && self->onReady) self->onReady(port);
    });
}

void IPPServer::handle(const TCPListener::Waiting& state)
{
    const std::string reason = state.error.description();
    log_.error("IPPServer: can't accept connections for now: " + reason);
    connections_->makeRoom({}, reason);
}

void IPPServer::handle(const TCPListener::Failed& state)
{
    if (isPortUnavailable(state.error)) {
        reportPortUnavailable(state.error);
    } else {
        log_.error("IPPServer: listener failed: " + state.error.description());
    }
    scheduleRestart();
}

void IPPServer::handle(TCPListener::Cancelled /*state*/)
{
    log_.error("IPPServer: listener cancelled unexpectedly");
    scheduleRestart();
}

void IPPServer::reportPortUnavailable(const SystemError& error)
{
    log_.error(fmt::format(
        "IPPServer: can't bind port {} ({}). Not advertising — the printer will be unavailable, "
        "and clients keep whatever they already cached, rather than being pointed at a different "
        "port. "
        "Free the port or change it in Settings; retrying meanwhile.",
        configuredPort_, error.description()));
    if (std::exchange(reportedPortUnavailable_, true)) return;
    main_.async([weak = weak_from_this(), error] {
        const auto self = weak.lock();
        if (self && self->onPortUnavailable) self->onPortUnavailable(self->configuredPort_, error);
    });
}

void IPPServer::scheduleRestart()
{
    bonjour_.stop();
    if (const auto former = listener()) former->cancel();
    const std::chrono::seconds delay = restartDelay_.advance();
    log_.note(fmt::format("IPPServer: restarting listener in {}s", delay.count()));
    state_ = WaitingToRestart{queue_->after(delay, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->restart();
    })};
}

void IPPServer::restart()
{
    const auto started = startListener();
    if (started) return;
    log_.error("IPPServer: listener restart failed: " + describe(started.error()));
    scheduleRestart();
}

void IPPServer::stop(Task whenFinished)
{
    queue_->sync([this, &whenFinished] {
        stopListening();
        connections_->whenEmpty(
            [&main = main_, whenFinished = std::move(whenFinished)] { main.async(whenFinished); });
    });
    // The listener's last state follows, and is waited for.
    queue_->sync([] {});
}

void IPPServer::stopListening()
{
    interfaceMonitor_.stop();
    bonjour_.stop();
    const auto former = listener();
    state_ = Stopped{};
    if (former) former->cancel();
}

/** The current listener, if there is one. */
std::shared_ptr<TCPListener> IPPServer::listener() const
{
    if (const auto* starting = std::get_if<Starting>(&state_)) return starting->listener;
    if (const auto* listening = std::get_if<Listening>(&state_)) return listening->listener;
    return nullptr;
}

void IPPServer::republish()
{
    queue_->async([weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->publishIfListening();
    });
}

void IPPServer::publishIfListening()
{
    const auto* listening = std::get_if<Listening>(&state_);
    if (listening != nullptr) publish(descriptorProvider_(), listening->port);
}

void IPPServer::publish(const PrinterDescriptor& descriptor, std::uint16_t port)
{
    const auto& choice = interfaceMonitor_.current();
    log_.note(fmt::format("IPPServer: publishing \"{}\" on port {} via {}", descriptor.name, port,
                          choice.description()));
    bonjour_.registerService({.name = descriptor.name,
                              .type = serviceType(descriptor.profile),
                              .port = port,
                              .txt = makeTXTRecord(descriptor),
                              .interfaceIndex = choice.interfaceIndex});
}

} // namespace korvane
