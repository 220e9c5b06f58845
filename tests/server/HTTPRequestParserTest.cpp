#include "ParserFeeding.h"

#include <gmock/gmock.h>

#include <string>
#include <variant>

namespace korvane {
namespace {

using Parser = HTTPRequestParser;
using Headers = decltype(HTTPRequest::headers);

Parser::Result complete(HTTPRequest request)
{
    return Parser::Complete{std::move(request)};
}

HTTPRequest post(Headers headers, std::string_view body)
{
    return {"POST", "/ipp/print", "HTTP/1.1", std::move(headers), Data::copying(body)};
}

const std::string postLine = "POST /ipp/print HTTP/1.1\r\n";

struct Exchange {
    const char* description;
    std::string input;
    Parser::Result expected;
    int continues = 0;
};

const Exchange exchanges[] = {
    {"no body", "GET / HTTP/1.1\r\nHost: desk\r\n\r\n",
     complete({"GET", "/", "HTTP/1.1", {{"host", "desk"}}, {}})},
    {"no headers", "GET / HTTP/1.1\r\n\r\n", complete({"GET", "/", "HTTP/1.1", {}, {}})},
    {"spaces in the request line", "  GET  /a%20b  HTTP/1.1 x\r\n\r\n",
     complete({"GET", "/a%20b", " HTTP/1.1 x", {}, {}})},
    {"two fields", "GET /\r\n", Parser::Error{"bad request line: GET /"}},
    {"two fields and a space", "GET / \r\n", Parser::Error{"bad request line: GET / "}},
    {"an empty line first", "\r\nGET / HTTP/1.1\r\n\r\n", Parser::Error{"bad request line: "}},
    {"request line not UTF-8", "GET /\xFF HTTP/1.1\r\n\r\n", Parser::Error{"bad request line: "}},
    {"header without a colon", postLine + "Host desk\r\n",
     Parser::Error{"malformed header: Host desk"}},
    {"lone line feeds and carriage returns", postLine + "A: b\nc\rd\r\r\n\r\n",
     complete(post({{"a", "b\nc\rd\r"}}, ""))},
    {"names in lower case, values as they are, the last of a name",
     postLine + "X-Name: First\r\nx-nAME :\t Second\xC2\xA0\r\n\r\n",
     complete(post({{"x-name", "Second"}}, ""))},
    {"no name, no value, several colons", postLine + ": a\r\nb:\r\nc:d:e\r\n\r\n",
     complete(post({{"", "a"}, {"b", ""}, {"c", "d:e"}}, ""))},
    {"a header that is not UTF-8 ends the headers", postLine + "A: \xFC\r\nB: c\r\n\r\n",
     complete(post({}, ""))},

    {"length", postLine + "Content-Length: +7 \r\n\r\n1234567rest",
     complete(post({{"content-length", "+7"}}, "1234567"))},
    {"length 0", postLine + "Content-Length: 0\r\n\r\nrest",
     complete(post({{"content-length", "0"}}, ""))},
    {"negative length", postLine + "Content-Length: -5\r\n\r\nrest",
     complete(post({{"content-length", "-5"}}, ""))},
    {"length and letter", postLine + "Content-Length: 5a\r\n\r\nrest",
     complete(post({{"content-length", "5a"}}, ""))},
    {"length past 64 bits", postLine + "Content-Length: 9223372036854775808\r\n\r\nrest",
     complete(post({{"content-length", "9223372036854775808"}}, ""))},

    {"chunks with an extension and a trailer",
     postLine + "Transfer-Encoding: gzip, Chunked\r\n\r\n"
                "3;ext=\"a\"\r\nabc\r\n0A\r\n0123456789\r\n+0\r\nX-Sum: 1\r\n\r\nrest",
     complete(post({{"transfer-encoding", "gzip, Chunked"}}, "abc0123456789"))},
    {"chunks win over a length",
     postLine + "Content-Length: 2\r\nTransfer-Encoding: chunked\r\n\r\n1\r\na\r\n0\r\n\r\n",
     complete(post({{"content-length", "2"}, {"transfer-encoding", "chunked"}}, "a"))},
    {"what ends a chunk is not checked, and a size may be padded",
     postLine + "Transfer-Encoding: chunked\r\n\r\n \t1 ;x\r\na??;0\r\n\xFF\r\n",
     complete(post({{"transfer-encoding", "chunked"}}, "a"))},
    {"not a chunk size", postLine + "Transfer-Encoding: chunked\r\n\r\n0x5;a\r\n",
     Parser::Error{"bad chunk size: 0x5;a"}},
    {"empty chunk size", postLine + "Transfer-Encoding: chunked\r\n\r\n\r\n",
     Parser::Error{"bad chunk size: "}},
    {"only extensions", postLine + "Transfer-Encoding: chunked\r\n\r\n;\r\n",
     Parser::Error{"bad chunk size: ;"}},
    {"negative chunk size", postLine + "Transfer-Encoding: chunked\r\n\r\n-1\r\n",
     Parser::Error{"bad chunk size: -1"}},
    {"chunk size with two signs", postLine + "Transfer-Encoding: chunked\r\n\r\n+-0\r\n\r\n",
     Parser::Error{"bad chunk size: +-0"}},
    {"chunk size past 64 bits", postLine + "Transfer-Encoding: chunked\r\n\r\n8000000000000000\r\n",
     Parser::Error{"bad chunk size: 8000000000000000"}},

    {"a client that waits to send its body",
     postLine + "Expect: 100-Continue\r\nContent-Length: 2\r\n\r\nab",
     complete(post({{"expect", "100-Continue"}, {"content-length", "2"}}, "ab")), 1},
    {"a client that waits and has no body", postLine + "Expect: 100-continue\r\n\r\n",
     complete(post({{"expect", "100-continue"}}, "")), 1},
    {"unfinished", postLine + "Content-Length: 3\r\n\r\nab", Parser::NeedMore{}},
};

TEST(HTTPRequestParser, ReadsRequestsHoweverTheirBytesAreCut)
{
    for (const Exchange& each : exchanges) {
        for (const std::size_t piece : {SIZE_MAX, std::size_t{1}, std::size_t{2}, std::size_t{7}}) {
            SCOPED_TRACE(testing::Message() << each.description << ", in pieces of " << piece);
            Parser parser;
            EXPECT_EQ(feed(parser, each.input, piece), (Outcome{each.expected, each.continues}));
        }
    }
}

TEST(HTTPRequestParser, AsksForTheBodyAfterTheHeadersAndOnce)
{
    Parser parser;
    append(parser, postLine + "Expect: 100-continue\r\nContent-Length: 5\r\n");
    EXPECT_EQ(parser.parse(), Parser::Result(Parser::NeedMore{}));
    append(parser, "\r\nab"); // an impatient client
    EXPECT_EQ(parser.parse(), Parser::Result(Parser::SendContinue{}));
    append(parser, "cd");
    EXPECT_EQ(parser.parse(), Parser::Result(Parser::NeedMore{}));
    append(parser, "e");
    const auto result = parser.parse();
    ASSERT_TRUE(std::holds_alternative<Parser::Complete>(result));
    EXPECT_EQ(std::get<Parser::Complete>(result).request.body.text(), "abcde");
}

TEST(HTTPRequestParser, LeavesWhatFollowsTheRequestAndRepeatsTheResult)
{
    Parser parser;
    append(parser, postLine + "Content-Length: 2\r\n\r\nabGET / ");
    const auto first = parser.parse();
    append(parser, "HTTP/1.1\r\n\r\n");
    const auto second = parser.parse();
    EXPECT_EQ(first, complete(post({{"content-length", "2"}}, "ab")));
    EXPECT_EQ(second, first);
    EXPECT_EQ(parser.unparsed().size(), std::string_view("GET / HTTP/1.1\r\n\r\n").size());
    EXPECT_EQ(parser.bytesHeld(), parser.unparsed().size() + 2);
    EXPECT_EQ(std::get<Parser::Complete>(first).request.body.bytes().data(),
              std::get<Parser::Complete>(second).request.body.bytes().data());
}

TEST(HTTPRequestParser, KeepsWhatHasComeOfTheBodyAndNoMore)
{
    Parser parser;
    feed(parser, postLine + "Content-Length: 1000000000\r\n\r\nabc");
    EXPECT_EQ(parser.bytesHeld(), 3U);
    EXPECT_TRUE(parser.unparsed().empty());
    append(parser, "de");
    EXPECT_EQ(parser.bytesHeld(), 5U);
    EXPECT_TRUE(parser.unparsed().empty());
}

} // namespace
} // namespace korvane
