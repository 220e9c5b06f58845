#pragma once

#include "base/Log.h"
#include "net/TCPConnection.h"
#include "server/HTTPMessage.h"
#include "server/HTTPRequestParser.h"
#include "server/RequestReader.h"

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
 * Closing with unread bytes would make the client's system throw our answer away (RFC 9112, section
 * 9.6). So after every answer the connection lingers: what still arrives is read and dropped until
 * the client closes too.
 */
class ClientConnection : public std::enable_shared_from_this<ClientConnection> {
public:
    /** Gives the reader of a request whose head is complete; null when it has answered already. */
    using Router = std::function<std::shared_ptr<RequestReader>(const HTTPRequestParser::Head&,
                                                                RequestClient)>;

    ClientConnection(std::shared_ptr<TCPConnection> connection, ConnectionTable& table, Log& log);

    /** Issues the first read. */
    void start();

    /** Answers "503 Service Unavailable", whatever the client asks. */
    void refuseForNow();

    /** Closes at once; the table forgets this connection. */
    void close();

private:
    class PendingAnswer;

    struct ReceivingHead {
        bool hasBytes;
    };
    struct ReceivingBody {
        std::shared_ptr<RequestReader> reader;
    };
    /** The request is complete; its answer is being made. */
    struct Answering {};
    struct Lingering {
        std::size_t drainedBytes = 0;
    };

    void read();
    void readOn();
    void handleReceived(const Received& received);
    void process(const Received& received);
    void handle(HTTPRequestParser::NeedMore /*part*/) {}
    void handle(const HTTPRequestParser::Head& head);
    void handle(HTTPRequestParser::SendContinue part);
    void handle(const HTTPRequestParser::Body& body);
    void handle(HTTPRequestParser::Complete part);
    void handle(const HTTPRequestParser::Error& error);
    void drain(Lingering& lingering, const Received& received);
    bool isReceiving() const;
    RequestReader* reader() const;
    void sendResponse(const HTTPResponse& response);
    void linger();

    std::shared_ptr<TCPConnection> connection_;
    ConnectionTable& table_;
    Log& log_;
    HTTPRequestParser parser_;
    std::variant<ReceivingHead, ReceivingBody, Answering, Lingering> state_ = ReceivingHead{false};
    /** A read has been issued and brought nothing yet. */
    bool isReading_ = false;
};

} // namespace korvane
