#pragma once

#include "server/HTTPRequestParser.h"

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <span>
#include <string_view>

namespace korvane {

inline void append(HTTPRequestParser& parser, std::string_view text)
{
    parser.append({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

inline void PrintTo(const HTTPRequestParser::Error& error, std::ostream* out)
{
    *out << error.text;
}

/** What a client and its server come to: the last result, and how often it was told to continue. */
struct Outcome {
    HTTPRequestParser::Result result;
    int continues = 0;

    friend bool operator==(const Outcome&, const Outcome&) = default;
};

/** Feeds the input in pieces until there is a request or an error, as a server does. */
inline Outcome feed(HTTPRequestParser& parser, std::string_view input, std::size_t piece = SIZE_MAX)
{
    using NeedMore = HTTPRequestParser::NeedMore;
    Outcome outcome{NeedMore{}};
    while (!input.empty() && std::holds_alternative<NeedMore>(outcome.result)) {
        append(parser, input.substr(0, piece));
        input.remove_prefix(std::min(piece, input.size()));
        outcome.result = parser.parse();
        while (std::holds_alternative<HTTPRequestParser::SendContinue>(outcome.result)) {
            ++outcome.continues;
            outcome.result = parser.parse();
        }
    }
    return outcome;
}

} // namespace korvane
