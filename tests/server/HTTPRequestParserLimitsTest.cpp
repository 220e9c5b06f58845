#include "ParserFeeding.h"

#include <gtest/gtest.h>

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

/** Overwrites the bytes that the parser has looked at with line ends, which it would find if it
 *  looked at them again. The last one stays, as it may be half of a line end. */
void overwriteSeenBytes(const Parser& parser)
{
    const auto seen = parser.unparsed();
    auto* bytes = const_cast<std::uint8_t*>(seen.data()); // NOLINT: the parser's own memory
    for (std::size_t i = 0; i + 1 < seen.size(); ++i) bytes[i] = i % 2 == 0 ? '\r' : '\n';
}

TEST(HTTPRequestParserWork, LooksAtEachByteOfALineOnceHoweverTheyArrive)
{
    const std::string requestLine = "GET / HTTP/1.1\r\n";
    for (const std::string& before : {std::string(), requestLine, chunked, chunked + "0\r\n"}) {
        for (const std::size_t piece : {1U, 3U}) {
            Parser parser;
            feed(parser, before);
            for (int pieces = 0; pieces < 50; ++pieces) {
                const Outcome outcome = feed(parser, std::string(piece, 'x'));
                ASSERT_EQ(outcome.result, Parser::Result(Parser::NeedMore{})) << before << pieces;
                overwriteSeenBytes(parser);
            }
            feed(parser, "\r\n");
            EXPECT_TRUE(parser.unparsed().empty()) << before;
        }
    }
}

TEST(HTTPRequestParserWork, MovesABodyOutOfTheUnparsedBytesAsItArrives)
{
    const std::string piece(1000, 'x');
    Parser fixed;
    Parser inChunks;
    append(fixed, "POST / HTTP/1.1\r\nContent-Length: 200000\r\n\r\n");
    append(inChunks, chunked);
    for (std::size_t sent = 1; sent < 200; ++sent) {
        feed(fixed, piece);
        feed(inChunks, "3e8\r\n" + piece + "\r\n");
        for (const Parser* parser : {&fixed, &inChunks}) {
            ASSERT_TRUE(parser->unparsed().empty());
            ASSERT_EQ(parser->bytesHeld(), sent * piece.size());
        }
    }
}

TEST(HTTPRequestParserWork, LeavesUnparsedBytesWhereTheyAre)
{
    const std::string header = "P / 1\r\nExpect: 100-continue\r\nContent-Length: 5\r\n\r\n";
    Parser parser;
    append(parser, header + "1234");
    const std::uint8_t* start = parser.unparsed().data();
    ASSERT_EQ(parser.parse(), Parser::Result(Parser::SendContinue{}));
    EXPECT_EQ(parser.unparsed().data(), start + header.size());
}

} // namespace
} // namespace korvane
