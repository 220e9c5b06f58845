#include "server/ClientConnection.h"

#include "server/ConnectionTable.h"

#include <fmt/format.h>

#include <exception>
#include <utility>
#include <variant>

namespace korvane {

namespace {

/** The most that one read brings. */
constexpr std::size_t readSize = 262144;

/** The most that is read from a client after it was refused. */
constexpr std::size_t longestDrain = std::size_t{16} << 20;

const Data& interimContinue()
{
    static const Data bytes = Data::copying("HTTP/1.1 100 Continue\r\n\r\n");
    return bytes;
}

template <typename... Cases>
struct Overloaded : Cases... {
    using Cases::operator()...;
};
template <typename... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

} // namespace

/** Closes the connection when whoever should have answered has given up, on whatever thread. */
class ClientConnection::PendingAnswer {
public:
    PendingAnswer(std::shared_ptr<ClientConnection> connection, SerialQueue& queue)
        : connection_(std::move(connection)), queue_(queue)
    {
    }
    PendingAnswer(const PendingAnswer&) = delete;
    PendingAnswer& operator=(const PendingAnswer&) = delete;
    ~PendingAnswer()
    {
        if (!connection_) return;
        queue_.async([connection = std::move(connection_)] { connection->close(); });
    }

    void send(const HTTPResponse& response)
    {
        if (const auto connection = std::exchange(connection_, nullptr)) {
            connection->sendResponse(response);
        }
    }

private:
    std::shared_ptr<ClientConnection> connection_;
    SerialQueue& queue_;
};

ClientConnection::ClientConnection(std::shared_ptr<TCPConnection> connection,
                                   ConnectionTable& table, Router router, Log& log)
    : connection_(std::move(connection)), table_(table), router_(std::move(router)), log_(log)
{
}

void ClientConnection::start()
{
    readMore();
}

void ClientConnection::readMore()
{
    connection_->receive(readSize, [weak = weak_from_this()](const Received& received) {
        if (auto self = weak.lock()) self->handleReceived(received);
    });
}

void ClientConnection::handleReceived(const Received& received)
{
    if (received.error) {
        log_.error("IPPServer: receive error: " + received.error->description());
        close();
        return;
    }
    try {
        process(received);
    } catch (const std::exception& error) {
        log_.error(fmt::format("IPPServer: closing a connection: {}", error.what()));
        close();
    }
}

void ClientConnection::process(const Received& received)
{
    table_.heardFrom(*this);
    if (!received.bytes.empty()) {
        if (!table_.hold(*this, parser_.bytesHeld() + received.bytes.size())) {
            refuse("no room for the request, too much is being received");
            return;
        }
        parser_.append(received.bytes);
    }
    parse(received.ended);
}

void ClientConnection::parse(bool peerEnded)
{
    HTTPRequestParser::Result result = parser_.parse();
    while (std::holds_alternative<HTTPRequestParser::SendContinue>(result)) {
        connection_->send({interimContinue()}, {});
        result = parser_.parse();
    }
    std::visit(
        Overloaded{
            [this](HTTPRequestParser::Complete& complete) { route(std::move(complete.request)); },
            [this](const HTTPRequestParser::Error& error) { refuse(error.text); },
            [this, peerEnded](const auto&) { peerEnded ? close() : readMore(); },
        },
        result);
}

void ClientConnection::route(HTTPRequest request)
{
    table_.waitForUs(*this);
    // What becomes of the body is counted by whoever keeps it.
    table_.hold(*this, parser_.unparsed().size());
    auto pending = std::make_shared<PendingAnswer>(shared_from_this(), table_.queue());
    router_(std::move(request),
            [pending](const HTTPResponse& response) { pending->send(response); });
}

void ClientConnection::refuse(const std::string& message)
{
    log_.error("IPPServer: HTTP parse error: " + message);
    refused_ = true;
    parser_ = HTTPRequestParser();
    table_.hold(*this, 0);
    sendResponse({.status = "400 Bad Request", .body = {}});
}

void ClientConnection::sendResponse(const HTTPResponse& response)
{
    table_.heardFrom(*this);
    connection_->send({Data::copying(response.header()), response.body},
                      [weak = weak_from_this()](const std::optional<SystemError>&) {
                          if (auto self = weak.lock()) self->handleSent();
                      });
}

void ClientConnection::handleSent()
{
    if (!refused_ && parser_.unparsed().empty()) {
        close();
        return;
    }
    connection_->finishSending();
    drain();
}

void ClientConnection::drain()
{
    connection_->receive(readSize, [weak = weak_from_this()](const Received& received) {
        auto self = weak.lock();
        if (!self) return;
        self->drained_ += received.bytes.size();
        const bool done = received.ended || received.error || self->drained_ > longestDrain;
        done ? self->close() : self->drain();
    });
}

void ClientConnection::close()
{
    connection_->cancel();
    table_.forget(*this);
}

} // namespace korvane
