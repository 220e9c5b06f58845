#pragma once

#include "base/Data.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/** The head of one HTTP/1.1 request (RFC 9112). */
struct HTTPRequest {
    // The parts of the request line as received: nothing is decoded, checked or put in upper case.
    std::string method;
    std::string path;
    std::string version;

    /** Values by header name in lower case; of a repeated header the last one. */
    std::map<std::string, std::string, std::less<>> headers;

    /** The value of a header, given its name in lower case; empty when the request has none. */
    std::string_view header(std::string_view name) const
    {
        const auto found = headers.find(name);
        return found == headers.end() ? std::string_view() : found->second;
    }

    friend bool operator==(const HTTPRequest&, const HTTPRequest&) = default;
};

/** The final answer to one HTTP request. */
struct HTTPResponse {
    /** Status code and reason, for example "200 OK". */
    std::string status;
    std::string contentType = "application/ipp";
    Data body;
    /** Further header lines, without their ends. */
    std::vector<std::string> headers = {};
    /** Whether the body is sent: the answer to HEAD only tells its length (RFC 9110 section 9.3.2).
     */
    bool hasBody = true;
};

} // namespace korvane
