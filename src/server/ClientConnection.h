#pragma once

#include "platform/log/Log.h"
#include "platform/tcp/TCPConnection.h"
#include "server/HTTPRequestParser.h"
#include "server/HTTPResponse.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace korvane {

class ConnectionTable;

/**
 * One client: reads one request, has it answered, and closes.
 *
 * A client whose request is refused half-way is still sending; what it sends is then read and
 * dropped for a while, because closing with unread bytes would make its system throw our answer
 * away (RFC 9112, section 9.6).
 */
class ClientConnection : public std::enable_shared_from_this<ClientConnection> {
public:
    using Answer = std::function<void(HTTPResponse)>;

    /** Answers a complete request by calling the answer once, now or later on the same queue. When
     *  the answer is dropped without a call, the connection is closed. */
    using Router = std::function<void(HTTPRequest, Answer)>;

    ClientConnection(std::shared_ptr<TCPConnection> connection, ConnectionTable& table,
                     Router router, Log& log);

    /** Issues the first read. */
    void start();

    /** Closes at once; the table forgets this connection. */
    void close();

private:
    class PendingAnswer;

    void readMore();
    void handleReceived(const Received& received);
    void process(const Received& received);
    void parse(bool peerEnded);
    void refuse(const std::string& message);
    void route(HTTPRequest request);
    void sendResponse(const HTTPResponse& response);
    void handleSent();
    void drain();

    std::shared_ptr<TCPConnection> connection_;
    ConnectionTable& table_;
    Router router_;
    Log& log_;
    HTTPRequestParser parser_;
    bool refused_ = false;
    std::size_t drained_ = 0;
};

} // namespace korvane
