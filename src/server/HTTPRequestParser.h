#pragma once

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
 * Turns the bytes that arrive on one connection into one HTTP/1.1 request (RFC 9112), a part after
 * the other: it keeps the header section until it is complete and nothing of the body. The work is
 * linear in the number of bytes, however they are cut into pieces. A parser serves one request:
 * what follows it is left alone.
 */
class HTTPRequestParser {
public:
    /** How many bytes a client may send. */
    struct Limits {
        /** One line without its end. */
        std::size_t line = std::size_t{64} * 1024;

        /** The request line and the headers, up to the body; the trailer has as much for itself. */
        std::size_t headerSection = std::size_t{256} * 1024;

        std::uint64_t body = std::uint64_t{4} << 30;
    };

    /** The header section is complete. Reported once, before anything of the body. */
    struct Head {
        HTTPRequest request;
        /** Of the body; unknown when it comes in chunks. */
        std::optional<std::uint64_t> bodyLength;

        friend bool operator==(const Head&, const Head&) = default;
    };

    /** The client holds its body back until it is sent "100 Continue" (RFC 9110 section 10.1.1).
     *  Reported once, behind the head. */
    struct SendContinue {
        friend bool operator==(const SendContinue&, const SendContinue&) = default;
    };

    /** The next bytes of the body: at least one, and part of the input. */
    struct Body {
        std::span<const std::uint8_t> bytes;
    };

    /** The request has come to its end. */
    struct Complete {
        friend bool operator==(const Complete&, const Complete&) = default;
    };

    /** The request is malformed or past a limit; `text` says why. */
    struct Error {
        std::string text;

        friend bool operator==(const Error&, const Error&) = default;
    };

    /** All of the input has been used; nothing can be done until there is more. */
    struct NeedMore {
        friend bool operator==(const NeedMore&, const NeedMore&) = default;
    };

    using Result = std::variant<NeedMore, Head, SendContinue, Body, Complete, Error>;

    HTTPRequestParser() : HTTPRequestParser(Limits{}) {}
    explicit HTTPRequestParser(Limits limits) : limits_(limits), sectionLeft_(limits.headerSection)
    {
    }

    /** Goes on to the next part of the request, and takes what it uses off the front of `input`.
     *  Nothing changes after `Complete` and `Error`. */
    Result parse(std::span<const std::uint8_t>& input);

    /** How much memory an unfinished header section or line takes, about. */
    std::size_t bytesHeld() const { return line_.size() + headerMemory_; }

private:
    // Where the request is being read, in the order in which its parts come.
    struct RequestLine {};
    struct Headers {};
    struct FixedBody {
        std::uint64_t remaining;
    };
    struct ChunkSize {};
    struct ChunkData {
        std::uint64_t remaining;
    };
    struct ChunkDataEnd {
        std::size_t remaining;
    };
    struct ChunkTrailer {};
    struct Done {};
    struct Failed {
        Error error;
    };

    using BodyPhase = std::variant<FixedBody, ChunkSize, Done>;

    /** Behind the head of a request that waits to be asked for its body. */
    struct Expecting {
        BodyPhase body;
    };

    using Phase = std::variant<RequestLine, Headers, Expecting, FixedBody, ChunkSize, ChunkData,
                               ChunkDataEnd, ChunkTrailer, Done, Failed>;

    using Input = std::span<const std::uint8_t>;

    /** What a step reports; nothing when the next step can go on. */
    using Step = std::optional<Result>;

    /** A line without its end, or what to report instead. */
    using Line = korvane::Result<std::string, Result>;

    Step step(RequestLine phase, Input& input);
    Step step(Headers phase, Input& input);
    Step step(Expecting phase, Input& input);
    Step step(FixedBody& body, Input& input);
    Step step(ChunkSize phase, Input& input);
    Step step(ChunkData& chunk, Input& input);
    Step step(ChunkDataEnd& end, Input& input);
    Step step(ChunkTrailer phase, Input& input);
    Step step(Done phase, Input& input);
    Step step(Failed& failed, Input& input);

    Step storeHeader(std::string_view line);
    Step finishHead();
    korvane::Result<BodyPhase, Error> chooseBody() const;
    void enter(BodyPhase body);

    Line takeSectionLine(Input& input);
    Line takeLine(Input& input, std::size_t room);
    std::optional<std::size_t> findLineEnd(Input input) const;
    Error sectionTooLong() const;
    Error bodyTooLong() const;

    Limits limits_;
    Phase phase_;
    HTTPRequest request_;
    std::size_t headerMemory_ = 0;

    /** The beginning of a line whose end has not come. */
    std::string line_;

    /** How many bytes the header section, or the trailer, may still take. */
    std::size_t sectionLeft_;

    /** How many bytes of the body have been announced by chunks. */
    std::uint64_t chunkedSize_ = 0;
};

} // namespace korvane
