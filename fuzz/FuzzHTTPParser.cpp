// A client's bytes as an HTTP request, in pieces of several sizes: the pieces must make no
// difference to what comes out, and nothing may be kept past the limits.

#include "server/HTTPRequestParser.h"

#include <algorithm>
#include <cstdlib>

using namespace korvane;
using Parser = HTTPRequestParser;
using Bytes = std::span<const std::uint8_t>;

namespace {

void require(bool condition)
{
    if (!condition) std::abort();
}

/** How an exchange ends, how often it was told to continue, and how many bytes it leaves unused. */
using Outcome = std::tuple<Parser::Result, int, std::size_t>;

Outcome feed(Bytes input, const Parser::Limits& limits, std::size_t piece)
{
    Parser parser(limits);
    Parser::Result result = Parser::NeedMore{};
    int continues = 0;
    while (!input.empty() && std::holds_alternative<Parser::NeedMore>(result)) {
        const std::size_t count = std::min(piece, input.size());
        parser.append(input.first(count));
        input = input.subspan(count);
        result = parser.parse();
        for (; std::holds_alternative<Parser::SendContinue>(result); ++continues)
            result = parser.parse();
        if (!std::holds_alternative<Parser::NeedMore>(result)) break;
        require(parser.unparsed().size() < limits.line + 2);
        require(parser.bytesHeld() - parser.unparsed().size() <= limits.body);
    }
    require(continues <= 1);
    if (const auto* complete = std::get_if<Parser::Complete>(&result)) {
        require(complete->request.body.size() <= limits.body);
        require(parser.parse() == result);
    }
    return {result, continues, input.size() + parser.unparsed().size()};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    constexpr Parser::Limits small{.line = 48, .headerSection = 160, .body = 40};
    for (const Parser::Limits& limits : {Parser::Limits{}, small}) {
        const Outcome whole = feed({bytes, size}, limits, SIZE_MAX);
        for (const std::size_t piece : {1U, 2U, 13U})
            require(feed({bytes, size}, limits, piece) == whole);
    }
    return 0;
}
