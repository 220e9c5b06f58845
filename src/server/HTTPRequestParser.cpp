#include "server/HTTPRequestParser.h"

#include "text/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <utility>

namespace korvane {

namespace {

constexpr std::string_view lineEnd = "\r\n";

std::string_view asText(std::span<const std::uint8_t> bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

bool contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

/** Takes the part up to the next space away from the front of `text`, with the spaces before it and
 *  the one behind it. */
std::string_view takeField(std::string_view& text)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const std::string_view field = text.substr(0, text.find(' '));
    text.remove_prefix(std::min(field.size() + 1, text.size()));
    return field;
}

/** A whole text of an optional sign and digits as a number, if it is one and fits. */
std::optional<std::int64_t> readInteger(std::string_view text, int base)
{
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) return std::nullopt;
    }
    std::int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    if (error != std::errc() || stop != end) return std::nullopt;
    return number;
}

/** The size in a chunk's first line: what stands before the extensions (RFC 9112 section 7.1.1). */
std::optional<std::uint64_t> readChunkSize(std::string_view line)
{
    line.remove_prefix(std::min(line.find_first_not_of(';'), line.size()));
    const std::string_view digits = line.substr(0, line.find(';'));
    const auto size = readInteger(text::trimmingHorizontalSpace(digits), 16);
    if (!size || *size < 0) return std::nullopt;
    return static_cast<std::uint64_t>(*size);
}

} // namespace

void HTTPRequestParser::append(std::span<const std::uint8_t> bytes)
{
    // A body on its own need not pass through the buffer.
    std::size_t* remaining = bodyRemaining();
    if (remaining != nullptr && buffer_.empty()) bytes = bytes.subspan(takeBody(*remaining, bytes));
    buffer_.append(bytes);
}

HTTPRequestParser::Result HTTPRequestParser::parse()
{
    for (;;) {
        Step report = std::visit([this](auto& phase) { return step(phase); }, phase_);
        if (report) return *std::move(report);
    }
}

HTTPRequestParser::Step HTTPRequestParser::step(RequestLine /*phase*/)
{
    const Line line = takeSectionLine();
    if (!line) return line.error();
    std::string_view rest = *line;
    request_.method = takeField(rest);
    request_.path = takeField(rest);
    request_.version = rest;
    if (rest.empty()) return Error{"bad request line: " + *line};
    phase_ = Headers{};
    return std::nullopt;
}

HTTPRequestParser::Step HTTPRequestParser::step(Headers /*phase*/)
{
    const Line line = takeSectionLine();
    if (!line) return line.error();
    return line->empty() ? startBody() : storeHeader(*line);
}

HTTPRequestParser::Step HTTPRequestParser::storeHeader(std::string_view line)
{
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) return Error{"malformed header: " + std::string(line)};
    const std::string_view name = text::trimmingHorizontalSpace(line.substr(0, colon));
    const std::string_view value = text::trimmingHorizontalSpace(line.substr(colon + 1));
    request_.headers.insert_or_assign(text::lowercased(name), value);
    return std::nullopt;
}

/** At the end of the headers: how the body comes (RFC 9112 section 6.3), and whether the client
 *  waits to be asked for it. */
HTTPRequestParser::Step HTTPRequestParser::startBody()
{
    if (contains(text::lowercased(request_.header("transfer-encoding")), "chunked")) {
        phase_ = ChunkSize{};
    } else if (Step report = startFixedBody()) {
        return report;
    }
    if (contains(text::lowercased(request_.header("expect")), "100-continue"))
        return SendContinue{};
    return std::nullopt;
}

HTTPRequestParser::Step HTTPRequestParser::startFixedBody()
{
    const std::string_view value = text::trimmingHorizontalSpace(request_.header("content-length"));
    const std::int64_t length = readInteger(value, 10).value_or(0);
    if (length < 1) {
        finish();
        return std::nullopt;
    }
    if (static_cast<std::uint64_t>(length) > limits_.body) return bodyTooLong();
    phase_ = FixedBody{static_cast<std::size_t>(length)};
    return std::nullopt;
}

HTTPRequestParser::Step HTTPRequestParser::step(FixedBody& body)
{
    if (!readBody(body.remaining)) return NeedMore{};
    finish();
    return std::nullopt;
}

HTTPRequestParser::Step HTTPRequestParser::step(ChunkSize /*phase*/)
{
    const Line line = takeLine(SIZE_MAX);
    if (!line) return line.error();
    const auto size = readChunkSize(*line);
    if (!size) return Error{"bad chunk size: " + *line};
    if (*size > limits_.body - body_.size()) return bodyTooLong();
    if (*size > 0) {
        phase_ = ChunkData{static_cast<std::size_t>(*size)};
    } else {
        phase_ = ChunkTrailer{};
        sectionLeft_ = limits_.headerSection;
    }
    return std::nullopt;
}

HTTPRequestParser::Step HTTPRequestParser::step(ChunkData& chunk)
{
    if (!readBody(chunk.remaining)) return NeedMore{};
    phase_ = ChunkDataCRLF{};
    return std::nullopt;
}

HTTPRequestParser::Step HTTPRequestParser::step(ChunkDataCRLF /*phase*/)
{
    if (buffer_.size() < lineEnd.size()) return NeedMore{};
    buffer_.consume(lineEnd.size());
    phase_ = ChunkSize{};
    return std::nullopt;
}

HTTPRequestParser::Step HTTPRequestParser::step(ChunkTrailer /*phase*/)
{
    const Line line = takeSectionLine();
    if (!line) return line.error();
    if (line->empty()) finish();
    return std::nullopt;
}

HTTPRequestParser::Step HTTPRequestParser::step(Done /*phase*/)
{
    return Complete{request_};
}

void HTTPRequestParser::finish()
{
    request_.body = body_.take();
    phase_ = Done{};
}

/** Takes a line and accounts for it in its section. */
HTTPRequestParser::Line HTTPRequestParser::takeSectionLine()
{
    const std::size_t before = buffer_.size();
    Line line = takeLine(sectionLeft_);
    sectionLeft_ -= before - buffer_.size();
    return line;
}

/** Takes the next line, which with its end may take up to `room` bytes; text that is not UTF-8
 *  counts as empty. */
HTTPRequestParser::Line HTTPRequestParser::takeLine(std::size_t room)
{
    const std::size_t maxLine = limits_.line + lineEnd.size();
    const auto length = findLineEnd(std::min(maxLine, room));
    if (!length) {
        if (buffer_.size() < std::min(maxLine, room)) return failure(Result(NeedMore{}));
        if (room < maxLine) return failure(Result(sectionTooLong()));
        return failure(Result(Error{fmt::format("line longer than {} bytes", limits_.line)}));
    }
    std::string line = text::decodeUTF8(buffer_.bytes().first(*length));
    buffer_.consume(*length + lineEnd.size());
    searched_ = 0;
    return line;
}

/** Where the first line end within the first `window` bytes of the buffer starts. */
std::optional<std::size_t> HTTPRequestParser::findLineEnd(std::size_t window)
{
    const std::string_view text = asText(buffer_.bytes()).substr(0, window);
    const std::size_t found = text.find(lineEnd, searched_);
    if (found != std::string_view::npos) return found;
    searched_ = std::max<std::size_t>(text.size(), 1) - 1; // the last byte may be half a line end
    return std::nullopt;
}

HTTPRequestParser::Error HTTPRequestParser::sectionTooLong() const
{
    const char* section = std::holds_alternative<ChunkTrailer>(phase_) ? "trailer" : "header";
    return {fmt::format("{} section longer than {} bytes", section, limits_.headerSection)};
}

HTTPRequestParser::Error HTTPRequestParser::bodyTooLong() const
{
    return {fmt::format("body longer than {} bytes", limits_.body)};
}

/** Moves what the buffer holds of the body, or of the chunk; whether that was the last of it. */
bool HTTPRequestParser::readBody(std::size_t& remaining)
{
    buffer_.consume(takeBody(remaining, buffer_.bytes()));
    return remaining == 0;
}

/** Adds to the body as many of the bytes as belong to it, and says how many those are. */
std::size_t HTTPRequestParser::takeBody(std::size_t& remaining, std::span<const std::uint8_t> bytes)
{
    const std::size_t count = std::min(remaining, bytes.size());
    body_.append(bytes.first(count));
    remaining -= count;
    return count;
}

/** How much of the body, or of the chunk, is still to come; null in other phases. */
std::size_t* HTTPRequestParser::bodyRemaining()
{
    if (auto* fixed = std::get_if<FixedBody>(&phase_)) return &fixed->remaining;
    if (auto* chunk = std::get_if<ChunkData>(&phase_)) return &chunk->remaining;
    return nullptr;
}

} // namespace korvane
