#pragma once

#include "base/Log.h"
#include "net/TCPConnection.h"
#include "server/HTTPMessage.h"
#include "server/HTTPRequestParser.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <variant>

namespace korvane {

class ConnectionTable;

/**
 * One client: reads one request, has it answered, and closes. Owned by its table, which outlives
 * it.
 *
 * A client whose request is refused half-way is still sending; what it sends is then read and
 * dropped for a while, because closing with unread bytes would make its system throw our answer
 * away (RFC 9112, section 9.6).
 */
class ClientConnection : public std::enable_shared_from_this<ClientConnection> {
public:
    using Answer = std::function<void(HTTPResponse)>;

    /** Answers a complete request by calling the answer once, now or later on the same queue. When
     *  the answer is dropped without a call, on whatever thread, the connection is closed. */
    using Router = std::function<void(HTTPRequest, Answer)>;

    ClientConnection(std::shared_ptr<TCPConnection> connection, ConnectionTable& table, Log& log);

    /** Issues the next read. */
    void read();

    /** Closes at once; the table forgets this connection. */
    void close();

private:
    class PendingAnswer;

    struct Receiving {
        HTTPRequestParser parser;
    };
    /** The request is complete or refused; its answer is being made or sent. */
    struct Answering {
        bool hasUnreadInput = false;
    };
    struct Draining {
        std::size_t drainedBytes = 0;
    };

    void handleReceived(const Received& received);
    void process(HTTPRequestParser& parser, const Received& received);
    void drain(Draining& draining, const Received& received);
    void refuse(const std::string& message);
    void route(HTTPRequest request, std::size_t unparsedBytes);
    void sendResponse(const HTTPResponse& response);
    void handleSent();

    std::shared_ptr<TCPConnection> connection_;
    ConnectionTable& table_;
    Log& log_;
    std::variant<Receiving, Answering, Draining> state_;
};

} // namespace korvane
