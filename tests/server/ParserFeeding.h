#pragma once

#include "server/HTTPRequestParser.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace korvane {

/** What a parser has reported, in words: "GET|/|HTTP/1.1|host=desk;|body of 2:ab|end". */
class ParserTranscript {
public:
    explicit ParserTranscript(HTTPRequestParser::Limits limits = {}) : parser_(limits) {}

    /** Feeds the input in pieces until the request ends, as a server does. */
    ParserTranscript& feed(std::span<const std::uint8_t> input, std::size_t piece = SIZE_MAX)
    {
        while (!input.empty() && isOpen_) {
            std::span<const std::uint8_t> next = input.first(std::min(piece, input.size()));
            input = input.subspan(next.size());
            do {
                const auto result = parser_.parse(next);
                isWaiting_ = std::holds_alternative<HTTPRequestParser::NeedMore>(result);
                std::visit([this](const auto& part) { add(part); }, result);
            } while (!isWaiting_ && isOpen_);
            unused_ = next.size() + (isOpen_ ? 0 : input.size());
        }
        return *this;
    }
    ParserTranscript& feed(std::string_view input, std::size_t piece = SIZE_MAX)
    {
        return feed(std::span(reinterpret_cast<const std::uint8_t*>(input.data()), input.size()),
                    piece);
    }

    std::string text() const
    {
        if (!hasBody_) return head_ + end_;
        return head_ + "body of " + length_ + ":" + body_ + end_;
    }
    /** How much of the input came behind the request. */
    std::size_t unused() const { return unused_; }
    const std::string& body() const { return body_; }
    const HTTPRequestParser& parser() const { return parser_; }
    bool isOpen() const { return isOpen_; }

private:
    void add(HTTPRequestParser::NeedMore /*part*/) {}
    void add(const HTTPRequestParser::Head& head)
    {
        const HTTPRequest& request = head.request;
        head_ = request.method + "|" + request.path + "|" + request.version + "|";
        for (const auto& [name, value] : request.headers) head_ += name + "=" + value + ";";
        head_ += "|";
        length_ = head.bodyLength ? std::to_string(*head.bodyLength) : "unknown length";
    }
    void add(HTTPRequestParser::SendContinue /*part*/) { head_ += "continue|"; }
    void add(const HTTPRequestParser::Body& part)
    {
        hasBody_ = true;
        body_.append(part.bytes.begin(), part.bytes.end());
    }
    void add(HTTPRequestParser::Complete /*part*/) { close("|end"); }
    void add(const HTTPRequestParser::Error& error) { close("error: " + error.text); }
    void close(const std::string& end)
    {
        end_ = end;
        isOpen_ = false;
    }

    HTTPRequestParser parser_;
    std::string head_;
    std::string length_;
    std::string body_;
    std::string end_;
    bool hasBody_ = false;
    bool isWaiting_ = false;
    bool isOpen_ = true;
    std::size_t unused_ = 0;
};

} // namespace korvane
