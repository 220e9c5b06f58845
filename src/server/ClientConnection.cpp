#include "server/ClientConnection.h"

#include "server/ConnectionTable.h"

#include <fmt/format.h>

#include <exception>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t maxReadSize = 262144;

/** What is read at most from a client after its answer. */
constexpr std::size_t maxDrainedBytes = std::size_t{16} << 20;

/** What a client that greets us in TLS sends first: a handshake record (RFC 8446 section 5.1). */
constexpr std::uint8_t handshakeRecord = 0x16;

/** The host of local clients, whichever address they use; no address looks like it. */
constexpr const char* thisComputer = "this computer";

const Data& interimContinue()
{
    static const Data bytes = Data::copying("HTTP/1.1 100 Continue\r\n\r\n");
    return bytes;
}

/** The status line and the header section with the empty line that ends it (RFC 9112, section 2.1).
 *  The connection is closed after every answer, and the header says so. */
std::string header(const HTTPResponse& response)
{
    std::string lines = fmt::format("HTTP/1.1 {}\r\n"
                                    "Server: Korvane/0.1\r\n"
                                    "Content-Type: {}\r\n"
                                    "Content-Length: {}\r\n"
                                    "Connection: close\r\n",
                                    response.status, response.contentType, response.body.size());
    for (const std::string& line : response.headers) lines += line + "\r\n";
    return lines + "\r\n";
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

void ClientConnection::start()
{
    read();
}

void ClientConnection::read()
{
    if (std::exchange(isReading_, true)) return;
    connection_->receive(maxReadSize, [weak = weak_from_this()](const Received& received) {
        if (auto self = weak.lock()) self->handleReceived(received);
    });
}

/** Reads on, if there is memory for more and the reader is not busy. */
void ClientConnection::readOn()
{
    if (!isReceiving()) return;
    RequestReader* const current = reader();
    const std::size_t held = parser_.bytesHeld() + (current ? current->bytesHeld() : 0);
    if (table_.charge(*this, held)) {
        if (!current || !current->isBusy()) read();
    } else if (!current || !current->releaseMemory()) {
        log_.error("IPPServer: refusing a request: memory quota exceeded");
        refuseForNow();
    }
}

void ClientConnection::handleReceived(const Received& received)
{
    isReading_ = false;
    if (auto* lingering = std::get_if<Lingering>(&state_)) return drain(*lingering, received);
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
    auto* head = std::get_if<ReceivingHead>(&state_);
    if (head && !received.bytes.empty() && !std::exchange(head->hasBytes, true) &&
        received.bytes.front() == handshakeRecord) {
        log_.error("IPPServer: closing a connection: the client asks for TLS");
        close();
        return;
    }
    table_.recordActivity(*this);
    std::span<const std::uint8_t> input = received.bytes;
    for (bool parsing = true; parsing && isReceiving();) {
        const HTTPRequestParser::Result result = parser_.parse(input);
        parsing = !std::holds_alternative<HTTPRequestParser::NeedMore>(result);
        std::visit([this](const auto& part) { handle(part); }, result);
    }
    if (!isReceiving()) return;
    received.ended ? close() : readOn();
}

void ClientConnection::handle(const HTTPRequestParser::Head& head)
{
    state_ = ReceivingBody{};
    table_.beginBody(*this);
    auto pending = std::make_shared<PendingAnswer>(weak_from_this(), table_.queue());
    auto reader = table_.router()(
        head, {.answer = [pending](const HTTPResponse& response) { pending->send(response); },
               .readOn =
                   [weak = weak_from_this()] {
                       if (const auto self = weak.lock()) self->readOn();
                   },
               .host = connection_->isPeerLocal() ? thisComputer : connection_->peerAddress()});
    if (auto* body = std::get_if<ReceivingBody>(&state_)) body->reader = std::move(reader);
}

void ClientConnection::handle(HTTPRequestParser::SendContinue /*part*/)
{
    connection_->send({interimContinue()}, {});
}

void ClientConnection::handle(const HTTPRequestParser::Body& body)
{
    // The reader may answer, and is then dropped.
    const auto reader = std::get<ReceivingBody>(state_).reader;
    reader->append(body.bytes);
}

void ClientConnection::handle(HTTPRequestParser::Complete /*part*/)
{
    const auto reader = std::move(std::get<ReceivingBody>(state_).reader);
    state_ = Answering{};
    table_.beginAnswering(*this);
    reader->finish();
}

void ClientConnection::handle(const HTTPRequestParser::Error& error)
{
    log_.error("IPPServer: HTTP parse error: " + error.text);
    sendResponse({.status = "400 Bad Request", .body = {}});
}

void ClientConnection::drain(Lingering& lingering, const Received& received)
{
    lingering.drainedBytes += received.bytes.size();
    const bool done = received.ended || received.error || lingering.drainedBytes > maxDrainedBytes;
    done ? close() : read();
}

bool ClientConnection::isReceiving() const
{
    return std::holds_alternative<ReceivingHead>(state_) ||
           std::holds_alternative<ReceivingBody>(state_);
}

RequestReader* ClientConnection::reader() const
{
    const auto* body = std::get_if<ReceivingBody>(&state_);
    return body ? body->reader.get() : nullptr;
}

void ClientConnection::refuseForNow()
{
    sendResponse({.status = "503 Service Unavailable", .body = {}});
}

void ClientConnection::sendResponse(const HTTPResponse& response)
{
    if (std::holds_alternative<Lingering>(state_)) return; // refused meanwhile
    state_ = Lingering{};
    table_.beginLingering(*this);
    connection_->send({Data::copying(header(response)), response.hasBody ? response.body : Data()},
                      [weak = weak_from_this()](const std::optional<SystemError>& error) {
                          const auto self = weak.lock();
                          if (self) error ? self->close() : self->linger();
                      });
}

void ClientConnection::linger()
{
    connection_->finishSending();
    read();
}

void ClientConnection::close()
{
    connection_->cancel();
    table_.forget(*this);
}

} // namespace korvane
