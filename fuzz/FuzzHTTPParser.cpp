// A client's bytes as an HTTP request, in pieces of several sizes: the pieces must make no
// difference to what comes out, and nothing may be kept past the limits.

#include "server/HTTPRequestParser.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <variant>

using namespace korvane;

namespace {

using Parser = HTTPRequestParser;
using Bytes = std::span<const std::uint8_t>;

void require(bool condition)
{
    if (!condition) std::abort();
}

/** How an exchange ends, and how many bytes it leaves unused. */
struct Outcome {
    Parser::Result result;
    int continues = 0;
    std::size_t unused = 0;

    friend bool operator==(const Outcome&, const Outcome&) = default;
};

void checkWaiting(const Parser& parser, const Parser::Limits& limits)
{
    require(parser.unparsed().size() < limits.line + 2);
    require(parser.bytesHeld() - parser.unparsed().size() <= limits.body);
}

Outcome feed(Bytes input, const Parser::Limits& limits, std::size_t piece)
{
    Parser parser(limits);
    Outcome outcome{Parser::NeedMore{}};
    while (!input.empty() && std::holds_alternative<Parser::NeedMore>(outcome.result)) {
        const std::size_t count = std::min(piece, input.size());
        parser.append(input.first(count));
        input = input.subspan(count);
        outcome.result = parser.parse();
        while (std::holds_alternative<Parser::SendContinue>(outcome.result)) {
            ++outcome.continues;
            outcome.result = parser.parse();
        }
        if (std::holds_alternative<Parser::NeedMore>(outcome.result)) checkWaiting(parser, limits);
    }
    require(outcome.continues <= 1);
    outcome.unused = input.size() + parser.unparsed().size();
    if (const auto* complete = std::get_if<Parser::Complete>(&outcome.result)) {
        require(complete->request.body.size() <= limits.body);
        require(parser.parse() == outcome.result);
    }
    return outcome;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    constexpr Parser::Limits small{.line = 48, .headerSection = 160, .body = 40};
    constexpr std::size_t pieces[] = {1, 2, 13};
    for (const Parser::Limits& limits : {Parser::Limits{}, small}) {
        const Bytes input(bytes, size);
        const Outcome whole = feed(input, limits, SIZE_MAX);
        for (const std::size_t piece : pieces) require(feed(input, limits, piece) == whole);
    }
    return 0;
}
