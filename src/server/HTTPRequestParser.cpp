#include "server/HTTPRequestParser.h"

#include "text/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <utility>

namespace korvane {

namespace {

constexpr std::string_view lineEnd = "\r\n";

/** What a header takes beside its characters: two strings in a node of the map. */
constexpr std::size_t headerOverhead = 2 * sizeof(std::string) + 6 * sizeof(void*);

using Bytes = std::span<const std::uint8_t>;

std::string_view asText(Bytes bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

Bytes asBytes(std::string_view text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/** Takes up to `remaining` bytes off the front of the input, and counts them off. */
template <typename Count>
Bytes takeFront(Bytes& input, Count& remaining)
{
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(remaining, input.size()));
    const Bytes taken = input.first(count);
    input = input.subspan(count);
    remaining -= count;
    return taken;
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

HTTPRequestParser::Result HTTPRequestParser::parse(Input& input)
{
    for (;;) {
        Step report = std::visit([&](auto& phase) { return step(phase, input); }, phase_);
        if (!report) continue;
        if (const auto* error = std::get_if<Error>(&*report)) phase_ = Failed{*error};
        return *std::move(report);
    }
}

HTTPRequestParser::Step HTTPRequestParser::step(RequestLine /*phase*/, Input& input)
{
    const Line line = takeSectionLine(input);
    if (!line) return line.error();
    std::string_view rest = *line;
    request_.method = takeField(rest);
    request_.path = takeField(rest);
    request_.version = rest;
    if (rest.empty()) return Error{"bad request line: " + *line};
    phase_ = Headers{};
    return std::nullopt;
}

HTTPRequestParser::Step HTTPRequestParser::step(Headers /*phase*/, Input& input)
{
    const Line line = takeSectionLine(input);
    if (!line) return line.error();
    return line->empty() ? finishHead() : storeHeader(*line);
}

HTTPRequestParser::Step HTTPRequestParser::storeHeader(std::string_view line)
{
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) return Error{"malformed header: " + std::string(line)};
    const std::string_view name = text::trimmingHorizontalSpace(line.substr(0, colon));
    const std::string_view value = text::trimmingHorizontalSpace(line.substr(colon + 1));
    request_.headers.insert_or_assign(text::lowercased(name), value);
    headerMemory_ += headerOverhead + name.size() + value.size();
    return std::nullopt;
}

/** At the end of the headers: how the body comes, and whether the client waits to be asked for it.
 */
HTTPRequestParser::Step HTTPRequestParser::finishHead()
{
    const auto body = chooseBody();
    if (!body) return body.error();
    if (contains(text::lowercased(request_.header("expect")), "100-continue")) {
        phase_ = Expecting{*body};
    } else {
        enter(*body);
    }
    std::optional<std::uint64_t> length;
    if (const auto* fixed = std::get_if<FixedBody>(&*body)) length = fixed->remaining;
    if (std::holds_alternative<Done>(*body)) length = 0;
    headerMemory_ = 0;
    return Head{std::exchange(request_, {}), length};
}

/** RFC 9112 section 6.3. */
korvane::Result<HTTPRequestParser::BodyPhase, HTTPRequestParser::Error>
HTTPRequestParser::chooseBody() const
{
    if (contains(text::lowercased(request_.header("transfer-encoding")), "chunked"))
        return ChunkSize{};
    const std::string_view value = text::trimmingHorizontalSpace(request_.header("content-length"));
    const std::int64_t length = readInteger(value, 10).value_or(0);
    if (length < 1) return Done{};
    const auto bytes = static_cast<std::uint64_t>(length);
    if (bytes > limits_.body) return failure(bodyTooLong());
    return FixedBody{bytes};
}

void HTTPRequestParser::enter(BodyPhase body)
{
    std::visit([this](auto phase) { phase_ = phase; }, body);
}

HTTPRequestParser::Step HTTPRequestParser::step(Expecting phase, Input& /*input*/)
{
    enter(phase.body);
    return SendContinue{};
}

HTTPRequestParser::Step HTTPRequestParser::step(FixedBody& body, Input& input)
{
    const Input bytes = takeFront(input, body.remaining);
    if (bytes.empty()) return NeedMore{};
    if (body.remaining == 0) phase_ = Done{};
    return Body{bytes};
}

HTTPRequestParser::Step HTTPRequestParser::step(ChunkSize /*phase*/, Input& input)
{
    const Line line = takeLine(input, SIZE_MAX);
    if (!line) return line.error();
    const auto size = readChunkSize(*line);
    if (!size) return Error{"bad chunk size: " + *line};
    if (*size > limits_.body - chunkedSize_) return bodyTooLong();
    chunkedSize_ += *size;
    if (*size > 0) {
        phase_ = ChunkData{*size};
    } else {
        phase_ = ChunkTrailer{};
        sectionLeft_ = limits_.headerSection;
    }
    return std::nullopt;
}

HTTPRequestParser::Step HTTPRequestParser::step(ChunkData& chunk, Input& input)
{
    const Input bytes = takeFront(input, chunk.remaining);
    if (bytes.empty()) return NeedMore{};
    if (chunk.remaining == 0) phase_ = ChunkDataEnd{lineEnd.size()};
    return Body{bytes};
}

/** What ends a chunk is not looked at. */
HTTPRequestParser::Step HTTPRequestParser::step(ChunkDataEnd& end, Input& input)
{
    takeFront(input, end.remaining);
    if (end.remaining > 0) return NeedMore{};
    phase_ = ChunkSize{};
    return std::nullopt;
}

HTTPRequestParser::Step HTTPRequestParser::step(ChunkTrailer /*phase*/, Input& input)
{
    const Line line = takeSectionLine(input);
    if (!line) return line.error();
    if (line->empty()) phase_ = Done{};
    return std::nullopt;
}

HTTPRequestParser::Step HTTPRequestParser::step(Done /*phase*/, Input& /*input*/)
{
    return Complete{};
}

HTTPRequestParser::Step HTTPRequestParser::step(Failed& failed, Input& /*input*/)
{
    return failed.error;
}

/** Takes a line and accounts for it in its section. */
HTTPRequestParser::Line HTTPRequestParser::takeSectionLine(Input& input)
{
    const std::size_t before = line_.size() + input.size();
    Line line = takeLine(input, sectionLeft_);
    sectionLeft_ -= before - line_.size() - input.size();
    return line;
}

/** Takes the next line, which with its end may take up to `room` bytes; text that is not UTF-8
 *  counts as empty. */
HTTPRequestParser::Line HTTPRequestParser::takeLine(Input& input, std::size_t room)
{
    const std::size_t maxLine = limits_.line + lineEnd.size();
    const std::size_t window = std::min(maxLine, room) - line_.size();
    const auto end = findLineEnd(input.first(std::min(window, input.size())));
    const bool isTooLong = !end && input.size() >= window;
    if (isTooLong && room < maxLine) return failure(Result(sectionTooLong()));
    if (isTooLong)
        return failure(Result(Error{fmt::format("line longer than {} bytes", limits_.line)}));
    const Input taken = input.first(end.value_or(input.size()));
    line_ += asText(taken);
    input = input.subspan(taken.size());
    if (!end) return failure(Result(NeedMore{}));
    const std::string line = std::exchange(line_, {});
    return text::decodeUTF8(
        asBytes(std::string_view(line).substr(0, line.size() - lineEnd.size())));
}

/** Behind which byte of the input the line that has begun ends. */
std::optional<std::size_t> HTTPRequestParser::findLineEnd(Input input) const
{
    if (line_.ends_with('\r') && !input.empty() && input.front() == '\n') return 1;
    const std::size_t found = asText(input).find(lineEnd);
    if (found == std::string_view::npos) return std::nullopt;
    return found + lineEnd.size();
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

} // namespace korvane
