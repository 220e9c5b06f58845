// A client's bytes as an HTTP request, in pieces of several sizes: the pieces must make no
// difference to what comes out, and nothing may be kept past the limits.

#include "../tests/server/ParserFeeding.h"

#include <cstdlib>

using namespace korvane;

namespace {

void require(bool condition)
{
    if (!condition) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const std::span input(bytes, size);
    constexpr HTTPRequestParser::Limits small{.line = 48, .headerSection = 160, .body = 40};
    for (const HTTPRequestParser::Limits& limits : {HTTPRequestParser::Limits{}, small}) {
        const ParserTranscript whole = ParserTranscript(limits).feed(input);
        require(whole.body().size() <= limits.body);
        for (const std::size_t piece : {1U, 2U, 13U}) {
            ParserTranscript pieces(limits);
            for (std::size_t begin = 0; begin < size && pieces.isOpen(); begin += piece) {
                pieces.feed(input.subspan(begin, std::min(piece, size - begin)));
                require(pieces.parser().bytesHeld() < 200 * limits.headerSection);
            }
            require(pieces.text() == whole.text());
        }
    }
    return 0;
}
