#include "ParserFeeding.h"

#include <gtest/gtest.h>

namespace korvane {
namespace {

const std::string post = "POST / 1\r\n";
const std::string length = post + "Content-Length: ";
const std::string chunked = post + "Transfer-Encoding: chunked\r\n\r\n";
const std::string chunkedHead = "POST|/|1|transfer-encoding=chunked;|";
const std::string expect = post + "Expect: 100-Continue\r\n";

const std::pair<std::string, std::string> exchanges[] = {
    {"GET / HTTP/1.1\r\nHost: desk\r\n\r\n", "GET|/|HTTP/1.1|host=desk;||end"},
    {"GET / HTTP/1.1\r\n\r\n", "GET|/|HTTP/1.1|||end"},
    {"GET / HTTP/1.1\r\nHost: desk\r\n", ""},
    {"  GET  /a%20b  HTTP/1.1 x\r\n\r\n", "GET|/a%20b| HTTP/1.1 x|||end"},
    {"GET /\r\n", "error: bad request line: GET /"},
    {"GET / \r\n", "error: bad request line: GET / "},
    {"\r\nGET / HTTP/1.1\r\n\r\n", "error: bad request line: "},
    {"GET /\xFF HTTP/1.1\r\n\r\n", "error: bad request line: "},
    {post + "Host desk\r\n", "error: malformed header: Host desk"},
    {post + "A: b\nc\rd\r\r\n\r\n", "POST|/|1|a=b\nc\rd\r;||end"},
    {post + "X-Name: First\r\nx-nAME :\t Second\xC2\xA0\r\n\r\n", "POST|/|1|x-name=Second;||end"},
    {post + ": a\r\nb:\r\nc:d:e\r\n\r\n", "POST|/|1|=a;b=;c=d:e;||end"},
    {post + "A: \xFC\r\nB: c\r\n\r\n", "POST|/|1|||end"}, // what is not UTF-8 ends the headers

    {length + "+7 \r\n\r\n1234567rest", "POST|/|1|content-length=+7;|body of 7:1234567|end"},
    {length + "0\r\n\r\nrest", "POST|/|1|content-length=0;||end"},
    {length + "-5\r\n\r\nrest", "POST|/|1|content-length=-5;||end"},
    {length + "5a\r\n\r\nrest", "POST|/|1|content-length=5a;||end"},
    {length + "9223372036854775808\r\n\r\n", "POST|/|1|content-length=9223372036854775808;||end"},
    {length + "3\r\n\r\nab", "POST|/|1|content-length=3;|body of 3:ab"},

    {post + "Transfer-Encoding: gzip, Chunked\r\n\r\n"
            "3;ext=\"a\"\r\nabc\r\n0A\r\n0123456789\r\n+0\r\nX-Sum: 1\r\n\r\nrest",
     "POST|/|1|transfer-encoding=gzip, Chunked;|body of unknown length:abc0123456789|end"},
    {length + "2\r\nTransfer-Encoding: chunked\r\n\r\n1\r\na\r\n0\r\n\r\n",
     "POST|/|1|content-length=2;transfer-encoding=chunked;|body of unknown length:a|end"},
    // What ends a chunk is not checked, and a size may be padded.
    {chunked + " \t1 ;x\r\na??;0\r\n\xFF\r\n", chunkedHead + "body of unknown length:a|end"},
    {chunked + "0x5;a\r\n", chunkedHead + "error: bad chunk size: 0x5;a"},
    {chunked + "\r\n", chunkedHead + "error: bad chunk size: "},
    {chunked + ";\r\n", chunkedHead + "error: bad chunk size: ;"},
    {chunked + "-1\r\n", chunkedHead + "error: bad chunk size: -1"},
    {chunked + "+-0\r\n\r\n", chunkedHead + "error: bad chunk size: +-0"},
    {chunked + "8000000000000000\r\n", chunkedHead + "error: bad chunk size: 8000000000000000"},

    {expect + "Content-Length: 2\r\n\r\nab",
     "POST|/|1|content-length=2;expect=100-Continue;|continue|body of 2:ab|end"},
    {expect + "\r\n", "POST|/|1|expect=100-Continue;|continue||end"},
};

TEST(HTTPRequestParser, ReadsRequestsHoweverTheirBytesAreCut)
{
    for (const auto& [input, expected] : exchanges) {
        for (const std::size_t piece : {SIZE_MAX, std::size_t{1}, std::size_t{2}, std::size_t{7}}) {
            ParserTranscript transcript;
            EXPECT_EQ(transcript.feed(input, piece).text(), expected)
                << input << ", in pieces of " << piece;
            EXPECT_TRUE(!input.ends_with("rest") || transcript.unused() == 4) << input;
        }
    }
}

/** The longest line: 32 bytes; the longest header section: 64; the longest body: 8. */
constexpr HTTPRequestParser::Limits small{.line = 32, .headerSection = 64, .body = 8};

/** A request line and a header of that many bytes, ended. */
std::string lines(std::size_t requestLine, std::size_t header)
{
    return "GET /" + std::string(requestLine - 14, 'a') +
           " HTTP/1.1\r\nA:" + std::string(header - 2, 'b') + "\r\n";
}

TEST(HTTPRequestParser, HoldsItsLimitsWhereverABoundIsCrossedByOneByte)
{
    const std::string complete = "|end";
    const std::string lineTooLong = "error: line longer than 32 bytes";
    const std::string headersTooLong = "error: header section longer than 64 bytes";
    const std::string bodyTooLong = "error: body longer than 8 bytes";
    const std::string chunks = "P / 1\r\nTransfer-Encoding: chunked\r\n\r\n";
    const std::pair<std::string, std::string> cases[] = {
        {lines(32, 20) + "\r\n", complete},
        {lines(33, 20) + "\r\n", lineTooLong},
        {std::string(34, 'a'), lineTooLong}, // and no end in sight
        {lines(20, 33), lineTooLong},
        {lines(29, 29) + "\r\n", complete},
        {lines(29, 30) + "\r\n", headersTooLong},
        {lines(30, 30), headersTooLong}, // full before its end
        {chunks + "0\r\n" + lines(29, 29) + "\r\n", complete},
        {chunks + "0\r\n" + lines(29, 30) + "\r\n", "error: trailer section longer than 64 bytes"},
        {chunks + "1;" + std::string(31, 'x') + "\r\n", lineTooLong},
        {"P / 1\r\nContent-Length: 8\r\n\r\n12345678", complete},
        {"P / 1\r\nContent-Length: 9\r\nExpect: 100-continue\r\n\r\n", bodyTooLong},
        {chunks + "5\r\n12345\r\n3\r\n678\r\n0\r\n\r\n", complete},
        {chunks + "5\r\n12345\r\n4\r\n", bodyTooLong},
        {chunks + "7fffffffffffffff\r\n", bodyTooLong},
    };
    for (const auto& [input, end] : cases) {
        for (const std::size_t piece : {SIZE_MAX, std::size_t{1}, std::size_t{5}}) {
            const std::string text = ParserTranscript(small).feed(input, piece).text();
            EXPECT_TRUE(text.ends_with(end)) << text << " of " << input << " in " << piece;
            EXPECT_EQ(text.find("continue|"), std::string::npos);
        }
    }
}

TEST(HTTPRequestParser, KeepsNothingButAnUnfinishedHead)
{
    ParserTranscript transcript;
    transcript.feed("POST / HTTP/1.1\r\nA: b\r\nContent-Length: 100000\r\n");
    EXPECT_GT(transcript.parser().bytesHeld(), 60U) << "headers take more than their characters";
    transcript.feed("\r\n" + std::string(1000, 'x'));
    EXPECT_EQ(transcript.parser().bytesHeld(), 0U);
}

} // namespace
} // namespace korvane
