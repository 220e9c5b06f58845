#include "ParserFeeding.h"

#include <gmock/gmock.h>

namespace korvane {
namespace {

using Parser = HTTPRequestParser;
using Error = HTTPRequestParser::Error;
using Headers = decltype(HTTPRequest::headers);

Parser::Result get(std::string target, std::string version, Headers headers)
{
    return Parser::Complete{{"GET", std::move(target), std::move(version), std::move(headers), {}}};
}

Parser::Result post(Headers headers, std::string_view body = {})
{
    return Parser::Complete{
        {"POST", "/print", "HTTP/1.1", std::move(headers), Data::copying(body)}};
}

const std::string postLine = "POST /print HTTP/1.1\r\n";
const std::string length = postLine + "Content-Length: ";
const std::string chunked = postLine + "Transfer-Encoding: chunked\r\n\r\n";
const std::string expect = postLine + "Expect: 100-Continue\r\n";

const std::tuple<std::string, Parser::Result, int> exchanges[] = {
    {"GET / HTTP/1.1\r\nHost: desk\r\n\r\n", get("/", "HTTP/1.1", {{"host", "desk"}}), 0},
    {"GET / HTTP/1.1\r\n\r\n", get("/", "HTTP/1.1", {}), 0},
    {"  GET  /a%20b  HTTP/1.1 x\r\n\r\n", get("/a%20b", " HTTP/1.1 x", {}), 0},
    {"GET /\r\n", Error{"bad request line: GET /"}, 0},
    {"GET / \r\n", Error{"bad request line: GET / "}, 0},
    {"\r\nGET / HTTP/1.1\r\n\r\n", Error{"bad request line: "}, 0},
    {"GET /\xFF HTTP/1.1\r\n\r\n", Error{"bad request line: "}, 0},
    {postLine + "Host desk\r\n", Error{"malformed header: Host desk"}, 0},
    {postLine + "A: b\nc\rd\r\r\n\r\n", post({{"a", "b\nc\rd\r"}}), 0},
    {postLine + "X-Name: First\r\nx-nAME :\t Second\xC2\xA0\r\n\r\n", post({{"x-name", "Second"}}),
     0},
    {postLine + ": a\r\nb:\r\nc:d:e\r\n\r\n", post({{"", "a"}, {"b", ""}, {"c", "d:e"}}), 0},
    {postLine + "A: \xFC\r\nB: c\r\n\r\n", post({}), 0}, // what is not UTF-8 ends the headers

    {length + "+7 \r\n\r\n1234567rest", post({{"content-length", "+7"}}, "1234567"), 0},
    {length + "0\r\n\r\nrest", post({{"content-length", "0"}}), 0},
    {length + "-5\r\n\r\nrest", post({{"content-length", "-5"}}), 0},
    {length + "5a\r\n\r\nrest", post({{"content-length", "5a"}}), 0},
    {length + "9223372036854775808\r\n\r\nrest", post({{"content-length", "9223372036854775808"}}),
     0},
    {length + "3\r\n\r\nab", Parser::NeedMore{}, 0},

    {postLine +
         "Transfer-Encoding: gzip, "
         "Chunked\r\n\r\n3;ext=\"a\"\r\nabc\r\n0A\r\n0123456789\r\n+0\r\nX-Sum: 1\r\n\r\nrest",
     post({{"transfer-encoding", "gzip, Chunked"}}, "abc0123456789"), 0},
    {length + "2\r\nTransfer-Encoding: chunked\r\n\r\n1\r\na\r\n0\r\n\r\n",
     post({{"content-length", "2"}, {"transfer-encoding", "chunked"}}, "a"), 0},
    // What ends a chunk is not checked, and a size may be padded.
    {chunked + " \t1 ;x\r\na??;0\r\n\xFF\r\n", post({{"transfer-encoding", "chunked"}}, "a"), 0},
    {chunked + "0x5;a\r\n", Error{"bad chunk size: 0x5;a"}, 0},
    {chunked + "\r\n", Error{"bad chunk size: "}, 0},
    {chunked + ";\r\n", Error{"bad chunk size: ;"}, 0},
    {chunked + "-1\r\n", Error{"bad chunk size: -1"}, 0},
    {chunked + "+-0\r\n\r\n", Error{"bad chunk size: +-0"}, 0},
    {chunked + "8000000000000000\r\n", Error{"bad chunk size: 8000000000000000"}, 0},

    {expect + "Content-Length: 2\r\n\r\nab",
     post({{"expect", "100-Continue"}, {"content-length", "2"}}, "ab"), 1},
    {expect + "\r\n", post({{"expect", "100-Continue"}}), 1},
};

TEST(HTTPRequestParser, ReadsRequestsHoweverTheirBytesAreCut)
{
    for (const auto& [input, expected, continues] : exchanges) {
        for (const std::size_t piece : {SIZE_MAX, std::size_t{1}, std::size_t{2}, std::size_t{7}}) {
            Parser parser;
            EXPECT_EQ(feed(parser, input, piece), (Outcome{expected, continues}))
                << input << ", in pieces of " << piece;
        }
    }
}

TEST(HTTPRequestParser, AsksForTheBodyAfterTheHeadersAndOnce)
{
    Parser parser;
    append(parser, expect + "Content-Length: 5\r\n");
    EXPECT_EQ(parser.parse(), Parser::Result(Parser::NeedMore{}));
    append(parser, "\r\nab"); // a client that does not wait for 100
    EXPECT_EQ(parser.parse(), Parser::Result(Parser::SendContinue{}));
    EXPECT_EQ(feed(parser, "cde", 2).continues, 0);
    EXPECT_EQ(std::get<Parser::Complete>(parser.parse()).request.body.text(), "abcde");
}

TEST(HTTPRequestParser, LeavesWhatFollowsTheRequestAndRepeatsTheResult)
{
    Parser parser;
    append(parser, length + "2\r\n\r\nabGET / ");
    const auto first = parser.parse();
    append(parser, "HTTP/1.1\r\n\r\n");
    EXPECT_EQ(first, post({{"content-length", "2"}}, "ab"));
    EXPECT_EQ(parser.parse(), first);
    EXPECT_EQ(parser.unparsed().size(), std::string_view("GET / HTTP/1.1\r\n\r\n").size());
    EXPECT_EQ(parser.bytesHeld(), parser.unparsed().size() + 2);
}

} // namespace
} // namespace korvane
