#include "server/HTTPResponse.h"

#include <fmt/format.h>

namespace korvane {

std::string HTTPResponse::header() const
{
    return fmt::format("HTTP/1.1 {}\r\n"
                       "Server: Korvane/0.1\r\n"
                       "Content-Type: {}\r\n"
                       "Content-Length: {}\r\n"
                       "Connection: close\r\n"
                       "\r\n",
                       status, contentType, body.size());
}

} // namespace korvane
