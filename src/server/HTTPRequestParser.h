#pragma once

#include "base/ByteBuffer.h"
#include "base/Result.h"
#include "server/HTTPMessage.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace korvane {

/**
 * Turns the bytes that arrive on one connection into one HTTP/1.1 request (RFC 9112). It is fed
 * with `append` and asked with `parse`, as often as there is something new; the work is linear in
 * the number of bytes, however they are cut into pieces. A parser serves one request: what follows
 * it is left alone.
 *
 * Running out of memory surfaces from both as std::bad_alloc; the parser is of no more use then.
 */
class HTTPRequestParser {
public:
    /** How many bytes a client may make us keep. */
    struct Limits {
        /** One line without its end. */
        std::size_t line = std::size_t{64} * 1024;

        /** The request line and the headers, up to the body; the trailer has as much for itself. */
        std::size_t headerSection = std::size_t{256} * 1024;

        std::size_t body = std::size_t{1024} * 1024 * 1024;
    };

    /** The whole request. Copying it copies no body. */
    struct Complete {
        HTTPRequest request;

        friend bool operator==(const Complete&, const Complete&) = default;
    };

    /** The request is malformed or past a limit; `text` says why. */
    struct Error {
        std::string text;

        friend bool operator==(const Error&, const Error&) = default;
    };

    /** Nothing can be done until more bytes are appended. */
    struct NeedMore {
        friend bool operator==(const NeedMore&, const NeedMore&) = default;
    };

    /** The client holds its body back until it is sent "100 Continue" (RFC 9110 section 10.1.1).
     *  Reported once; then `parse` goes on. */
    struct SendContinue {
        friend bool operator==(const SendContinue&, const SendContinue&) = default;
    };

    using Result = std::variant<Complete, Error, NeedMore, SendContinue>;

    HTTPRequestParser() : HTTPRequestParser(Limits{}) {}
    explicit HTTPRequestParser(Limits limits) : limits_(limits), sectionLeft_(limits.headerSection)
    {
    }

    void append(std::span<const std::uint8_t> bytes);

    /** Goes as far as the bytes allow. Asked again after `Complete`, it gives the same request. */
    Result parse();

    /** The bytes that have been appended and not yet used. */
    std::span<const std::uint8_t> unparsed() const { return buffer_.bytes(); }

    /** How many bytes of input are kept: the unparsed ones and the body as far as it has come. */
    std::size_t bytesHeld() const { return buffer_.size() + body_.size() + request_.body.size(); }

private:
    // Where the request is being read, in the order in which its parts come.
    struct RequestLine {};
    struct Headers {};
    struct FixedBody {
        std::size_t remaining;
    };
    struct ChunkSize {};
    struct ChunkData {
        std::size_t remaining;
    };
    struct ChunkDataCRLF {};
    struct ChunkTrailer {};
    struct Done {};

    using Phase = std::variant<RequestLine, Headers, FixedBody, ChunkSize, ChunkData, ChunkDataCRLF,
                               ChunkTrailer, Done>;

    /** What a step reports; nothing when the next step can go on. */
    using Step = std::optional<Result>;

    /** A line without its end, or what to report instead. */
    using Line = korvane::Result<std::string, Result>;

    Step step(RequestLine);
    Step step(Headers);
    Step step(FixedBody& body);
    Step step(ChunkSize);
    Step step(ChunkData& chunk);
    Step step(ChunkDataCRLF);
    Step step(ChunkTrailer);
    Step step(Done);

    Step storeHeader(std::string_view line);
    Step startBody();
    Step startFixedBody();
    void finish();

    Line takeSectionLine();
    Line takeLine(std::size_t room);
    std::optional<std::size_t> findLineEnd(std::size_t window);
    Error sectionTooLong() const;
    Error bodyTooLong() const;

    bool readBody(std::size_t& remaining);
    std::size_t takeBody(std::size_t& remaining, std::span<const std::uint8_t> bytes);
    std::size_t* bodyRemaining();

    Limits limits_;
    ByteBuffer buffer_;
    Phase phase_;
    HTTPRequest request_;
    ByteBuffer body_;

    /** How much of the buffer is known to hold no line end. */
    std::size_t searched_ = 0;

    /** How many bytes the header section, or the trailer, may still take. */
    std::size_t sectionLeft_;
};

} // namespace korvane
