#include "ParserFeeding.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>

namespace korvane {
namespace {

using Parser = HTTPRequestParser;

/** The longest line: 32 bytes; the longest header section: 64; the longest body: 8. */
constexpr Parser::Limits small{.line = 32, .headerSection = 64, .body = 8};

const std::string chunked = "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n";

/** A request line and a header of that many bytes, ended. */
std::string lines(std::size_t requestLine, std::size_t header)
{
    return "GET /" + std::string(requestLine - 14, 'a') +
           " HTTP/1.1\r\nA:" + std::string(header - 2, 'b') + "\r\n";
}

TEST(HTTPRequestParserLimits, HoldWhereverABoundIsCrossedByOneByte)
{
    const std::string complete;
    const std::string lineTooLong = "line longer than 32 bytes";
    const std::string headersTooLong = "header section longer than 64 bytes";
    const std::string bodyTooLong = "body longer than 8 bytes";
    const std::pair<std::string, std::string> cases[] = {
        {lines(32, 20) + "\r\n", complete},
        {lines(33, 20) + "\r\n", lineTooLong},
        {std::string(34, 'a'), lineTooLong}, // and no end in sight
        {lines(20, 33), lineTooLong},
        {lines(29, 29) + "\r\n", complete},
        {lines(29, 30) + "\r\n", headersTooLong},
        {lines(30, 30), headersTooLong}, // full before its end
        {chunked + "0\r\n" + lines(29, 29) + "\r\n", complete},
        {chunked + "0\r\n" + lines(29, 30) + "\r\n", "trailer section longer than 64 bytes"},
        {chunked + "1;" + std::string(31, 'x') + "\r\n", lineTooLong},
        {"P / 1\r\nContent-Length: 8\r\n\r\n12345678", complete},
        {"P / 1\r\nContent-Length: 9\r\nExpect: 100-continue\r\n\r\n", bodyTooLong},
        {chunked + "5\r\n12345\r\n3\r\n678\r\n0\r\n\r\n", complete},
        {chunked + "5\r\n12345\r\n4\r\n", bodyTooLong},
        {chunked + "7fffffffffffffff\r\n", bodyTooLong},
    };
    for (const auto& [input, error] : cases) {
        for (const std::size_t piece : {SIZE_MAX, std::size_t{1}, std::size_t{5}}) {
            Parser parser(small);
            const auto [result, continues] = feed(parser, input, piece);
            const auto* failed = std::get_if<Parser::Error>(&result);
            EXPECT_EQ(failed ? failed->text : complete, error)
                << input << ", in pieces of " << piece;
            EXPECT_FALSE(std::holds_alternative<Parser::NeedMore>(result)) << input;
            EXPECT_EQ(continues, 0);
        }
    }
}

/** Expects work to be linear. Its sizes are such that linear work takes a fraction of a second of
 * processor time, which other programs do not lengthen, and quadratic work minutes. */
template <typename Work>
void expectLinear(Work work)
{
    const auto seconds = [] {
        std::timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return time.tv_sec;
    };
    const auto start = seconds();
    work();
    EXPECT_LT(seconds() - start, 30);
}

TEST(HTTPRequestParserWork, IsLinearForALineThatArrivesByteByByte)
{
    constexpr std::size_t size = std::size_t{8} << 20;
    Parser parser({.line = size, .headerSection = 2 * size});
    expectLinear([&] { feed(parser, lines(size / 2, size / 2) + "\r\n", 1); });
    EXPECT_TRUE(std::holds_alternative<Parser::Complete>(parser.parse()));
}

TEST(HTTPRequestParserWork, IsLinearForALargeBodyInSmallPieces)
{
    const std::string piece(1000, 'x');
    Parser fixed;
    Parser inChunks;
    append(fixed, "POST / HTTP/1.1\r\nContent-Length: 70000000\r\n\r\n");
    append(inChunks, chunked);
    expectLinear([&] {
        for (int sent = 0; sent < 65000; ++sent) {
            feed(fixed, piece);
            feed(inChunks, "3e8\r\n" + piece + "\r\n");
        }
    });
    EXPECT_EQ(fixed.bytesHeld(), 65'000'000U);
    EXPECT_EQ(inChunks.bytesHeld(), fixed.bytesHeld());
    EXPECT_TRUE(fixed.unparsed().empty());
}

TEST(HTTPRequestParserWork, IsLinearForManyChunksThatArriveAtOnce)
{
    std::string request = chunked;
    while (request.size() < std::size_t{16} << 20) request += "1\r\nx\r\n";
    Parser parser;
    expectLinear([&] { feed(parser, request + "0\r\n\r\n"); });
    EXPECT_TRUE(std::holds_alternative<Parser::Complete>(parser.parse()));
}

} // namespace
} // namespace korvane
