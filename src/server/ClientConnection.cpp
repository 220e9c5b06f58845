#include "server/ClientConnection.h"

#include "server/ConnectionTable.h"

#include <fmt/format.h>

#include <exception>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t maxReadSize = 262144;

/** What is read at most from a client after it was refused. */
constexpr std::size_t maxDrainedBytes = std::size_t{16} << 20;

const Data& interimContinue()
{
    static const Data bytes = Data::copying("HTTP/1.1 100 Continue\r\n\r\n");
    return bytes;
}

/** The status line and the header section with the empty line that ends it (RFC 9112, section 2.1).
 *  The connection is closed after every answer, and the header says so. */
std::string header(const HTTPResponse& response)
{
    return fmt::format("HTTP/1.1 {}\r\n"
                       "Server: Korvane/0.1\r\n"
                       "Content-Type: {}\r\n"
                       "Content-Length: {}\r\n"
                       "Connection: close\r\n"
                       "\r\n",
                       response.status, response.contentType, response.body.size());
}

} // namespace

/** Sends one answer; dropped before, it closes the connection. */
class ClientConnection::PendingAnswer {
public:
    PendingAnswer(std::weak_ptr<ClientConnection> connection, std::shared_ptr<SerialQueue> queue)
        : connection_(std::move(connection)), queue_(std::move(queue))
    {
    }
    PendingAnswer(const PendingAnswer&) = delete;
    PendingAnswer& operator=(const PendingAnswer&) = delete;
    ~PendingAnswer()
    {
        if (connection_.expired()) return;
        queue_->async([weak = connection_] {
            if (const auto connection = weak.lock()) connection->close();
        });
    }

    void send(const HTTPResponse& response)
    {
        const auto connection = std::exchange(connection_, {}).lock();
        if (connection) connection->sendResponse(response);
    }

private:
    std::weak_ptr<ClientConnection> connection_;
    std::shared_ptr<SerialQueue> queue_;
};

ClientConnection::ClientConnection(std::shared_ptr<TCPConnection> connection,
                                   ConnectionTable& table, Log& log)
    : connection_(std::move(connection)), table_(table), log_(log)
{
}

void ClientConnection::read()
{
    connection_->receive(maxReadSize, [weak = weak_from_this()](const Received& received) {
        if (auto self = weak.lock()) self->handleReceived(received);
    });
}

void ClientConnection::handleReceived(const Received& received)
{
    if (auto* draining = std::get_if<Draining>(&state_)) {
        drain(*draining, received);
        return;
    }
    if (received.error) {
        log_.error("IPPServer: receive error: " + received.error->description());
        close();
        return;
    }
    try {
        process(std::get<Receiving>(state_).parser, received);
    } catch (const std::exception& error) {
        log_.error(fmt::format("IPPServer: closing a connection: {}", error.what()));
        close();
    }
}

void ClientConnection::process(HTTPRequestParser& parser, const Received& received)
{
    table_.recordActivity(*this);
    if (!received.bytes.empty()) {
        if (!table_.charge(*this, parser.bytesHeld() + received.bytes.size())) {
            refuse("memory quota exceeded");
            return;
        }
        parser.append(received.bytes);
    }
    HTTPRequestParser::Result result = parser.parse();
    while (std::holds_alternative<HTTPRequestParser::SendContinue>(result)) {
        connection_->send({interimContinue()}, {});
        result = parser.parse();
    }
    if (auto* complete = std::get_if<HTTPRequestParser::Complete>(&result)) {
        route(std::move(complete->request), parser.unparsed().size());
    } else if (const auto* error = std::get_if<HTTPRequestParser::Error>(&result)) {
        refuse(error->text);
    } else {
        received.ended ? close() : read();
    }
}

void ClientConnection::drain(Draining& draining, const Received& received)
{
    draining.drainedBytes += received.bytes.size();
    const bool done = received.ended || received.error || draining.drainedBytes > maxDrainedBytes;
    done ? close() : read();
}

void ClientConnection::refuse(const std::string& message)
{
    log_.error("IPPServer: HTTP parse error: " + message);
    state_ = Answering{.hasUnreadInput = true};
    table_.charge(*this, 0);
    sendResponse({.status = "400 Bad Request", .body = {}});
}

void ClientConnection::route(HTTPRequest request, std::size_t unparsedBytes)
{
    state_ = Answering{.hasUnreadInput = unparsedBytes > 0};
    table_.beginAnswering(*this);
    auto pending = std::make_shared<PendingAnswer>(weak_from_this(), table_.queue());
    table_.router()(std::move(request),
                    [pending](const HTTPResponse& response) { pending->send(response); });
}

void ClientConnection::sendResponse(const HTTPResponse& response)
{
    table_.recordActivity(*this);
    connection_->send({Data::copying(header(response)), response.body},
                      [weak = weak_from_this()](const std::optional<SystemError>&) {
                          if (auto self = weak.lock()) self->handleSent();
                      });
}

void ClientConnection::handleSent()
{
    if (!std::get<Answering>(state_).hasUnreadInput) {
        close();
        return;
    }
    connection_->finishSending();
    state_ = Draining{};
    read();
}

void ClientConnection::close()
{
    connection_->cancel();
    table_.forget(*this);
}

} // namespace korvane
