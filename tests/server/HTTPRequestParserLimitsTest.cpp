#include "ParserFeeding.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <string>
#include <variant>

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
    const std::string lineTooLong = "line longer than 32 bytes";
    const std::string headersTooLong = "header section longer than 64 bytes";
    const std::string bodyTooLong = "body longer than 8 bytes";
    const struct {
        const char* description;
        std::string input;
        std::string error; // empty when the request is complete
    } cases[] = {
        {"longest line", lines(32, 20) + "\r\n", ""},
        {"line too long", lines(33, 20) + "\r\n", lineTooLong},
        {"line too long and no end in sight", std::string(34, 'a'), lineTooLong},
        {"header too long", lines(20, 33), lineTooLong},
        {"longest header section", lines(29, 29) + "\r\n", ""},
        {"header section too long", lines(29, 30) + "\r\n", headersTooLong},
        {"header section full before its end", lines(30, 30), headersTooLong},
        {"longest trailer", chunked + "0\r\n" + lines(29, 29) + "\r\n", ""},
        {"trailer too long", chunked + "0\r\n" + lines(29, 30) + "\r\n",
         "trailer section longer than 64 bytes"},
        {"chunk extension too long", chunked + "1;" + std::string(31, 'x') + "\r\n", lineTooLong},
        {"longest body", "P / 1\r\nContent-Length: 8\r\n\r\n12345678", ""},
        {"body too long", "P / 1\r\nContent-Length: 9\r\nExpect: 100-continue\r\n\r\n",
         bodyTooLong},
        {"longest body in chunks", chunked + "5\r\n12345\r\n3\r\n678\r\n0\r\n\r\n", ""},
        {"body in chunks too long", chunked + "5\r\n12345\r\n4\r\n", bodyTooLong},
        {"enormous chunk", chunked + "7fffffffffffffff\r\n", bodyTooLong},
    };
    for (const auto& each : cases) {
        for (const std::size_t piece : {SIZE_MAX, std::size_t{1}, std::size_t{5}}) {
            SCOPED_TRACE(testing::Message() << each.description << ", in pieces of " << piece);
            Parser parser(small);
            const Outcome outcome = feed(parser, each.input, piece);
            EXPECT_EQ(outcome.continues, 0);
            if (each.error.empty()) {
                EXPECT_TRUE(std::holds_alternative<Parser::Complete>(outcome.result));
            } else {
                EXPECT_EQ(outcome.result, Parser::Result(Parser::Error{each.error}));
            }
        }
    }
}

TEST(HTTPRequestParserLimits, AreGenerousUnlessSaidOtherwise)
{
    constexpr std::size_t line = 65536;
    Parser parser;
    const std::string header = "A:" + std::string(line - 2, 'b') + "\r\n";
    append(parser, lines(line, line) + header + header.substr(0, header.size() - 9));
    EXPECT_EQ(parser.parse(), Parser::Result(Parser::NeedMore{}));
    append(parser, "x");
    EXPECT_EQ(parser.parse(),
              Parser::Result(Parser::Error{"header section longer than 262144 bytes"}));
}

/** The processor time that `work` takes on this thread, which other programs do not lengthen. */
template <typename Work>
std::chrono::nanoseconds processorTime(Work work)
{
    const auto now = [] {
        std::timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    };
    const auto start = now();
    work();
    return now() - start;
}

// The sizes are such that linear work takes a fraction of a second and quadratic work minutes.
constexpr std::chrono::seconds patience(30);

TEST(HTTPRequestParserWork, IsLinearForALineThatArrivesByteByByte)
{
    constexpr std::size_t size = std::size_t{8} * 1024 * 1024;
    Parser parser({.line = size, .headerSection = 2 * size});
    const std::string request = lines(size / 2, size / 2) + "\r\n";
    EXPECT_LT(processorTime([&] { feed(parser, request, 1); }), patience);
    EXPECT_TRUE(std::holds_alternative<Parser::Complete>(parser.parse()));
}

TEST(HTTPRequestParserWork, IsLinearForALargeBodyInSmallPieces)
{
    constexpr std::size_t size = std::size_t{64} * 1024 * 1024;
    const std::string piece(1000, 'x');
    const std::string chunk = "3e8\r\n" + piece + "\r\n";
    Parser fixed;
    Parser inChunks;
    append(fixed, "POST / HTTP/1.1\r\nContent-Length: " + std::to_string(size) + "\r\n\r\n");
    append(inChunks, chunked);
    EXPECT_LT(processorTime([&] {
                  for (std::size_t sent = 0; sent < size; sent += piece.size()) {
                      feed(fixed, piece);
                      feed(inChunks, chunk);
                  }
              }),
              patience);
    EXPECT_EQ(fixed.bytesHeld(), (size / piece.size() + 1) * piece.size());
    EXPECT_EQ(inChunks.bytesHeld(), fixed.bytesHeld());
}

TEST(HTTPRequestParserWork, IsLinearForManyChunksThatArriveAtOnce)
{
    std::string request = chunked;
    while (request.size() < std::size_t{16} * 1024 * 1024) request += "1\r\nx\r\n";
    request += "0\r\n\r\n";
    Parser parser;
    EXPECT_LT(processorTime([&] { feed(parser, request); }), patience);
    EXPECT_TRUE(std::holds_alternative<Parser::Complete>(parser.parse()));
}

} // namespace
} // namespace korvane
