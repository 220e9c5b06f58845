#include "text/Text.h"

#include "text/CodePoints.h"

#include <utf8proc.h>

#include <algorithm>
#include <array>

namespace korvane::text {

namespace {

/** One step through a text: the code point at its front, or -1, and the bytes that it takes. */
struct Step {
    utf8proc_int32_t codePoint = -1;
    std::size_t length = 1;
};

Step firstStep(std::string_view text)
{
    const auto first = static_cast<unsigned char>(text.front());
    if (first < 0x80) return {first, 1};
    Step step;
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    const auto length = static_cast<utf8proc_ssize_t>(std::min<std::size_t>(text.size(), 4));
    const utf8proc_ssize_t used = utf8proc_iterate(bytes, length, &step.codePoint);
    if (used <= 0) return {};
    step.length = static_cast<std::size_t>(used);
    return step;
}

/** The step that ends at the back of a text. */
Step lastStep(std::string_view text)
{
    for (std::size_t length = 1; length <= std::min<std::size_t>(text.size(), 4); ++length) {
        const std::string_view tail = text.substr(text.size() - length);
        const Step step = firstStep(tail);
        if (step.codePoint >= 0 && step.length == length) return step;
    }
    return {};
}

bool isHorizontalSpace(utf8proc_int32_t codePoint)
{
    if (codePoint < 0x80) return codePoint == ' ' || codePoint == '\t';
    return utf8proc_category(codePoint) == UTF8PROC_CATEGORY_ZS;
}

bool isSpace(utf8proc_int32_t codePoint)
{
    return isHorizontalSpace(codePoint) || (codePoint >= 0x0A && codePoint <= 0x0D) ||
           codePoint == 0x85 || codePoint == 0x2028 || codePoint == 0x2029;
}

std::string_view trimming(std::string_view text, bool (*isTrimmed)(utf8proc_int32_t))
{
    while (!text.empty()) {
        const Step step = firstStep(text);
        if (!isTrimmed(step.codePoint)) break;
        text.remove_prefix(step.length);
    }
    while (!text.empty()) {
        const Step step = lastStep(text);
        if (!isTrimmed(step.codePoint)) break;
        text.remove_suffix(step.length);
    }
    return text;
}

/** The length in bytes of the first grapheme cluster of a text that is not empty. */
std::size_t firstCharacter(std::string_view text)
{
    Step step = firstStep(text);
    std::size_t length = step.length;
    utf8proc_int32_t state = 0;
    while (length < text.size() && step.codePoint >= 0) {
        const Step next = firstStep(text.substr(length));
        if (next.codePoint < 0) break;
        if (utf8proc_grapheme_break_stateful(step.codePoint, next.codePoint, &state)) break;
        length += next.length;
        step = next;
    }
    return length;
}

} // namespace

bool isWellFormedUTF8(std::string_view text)
{
    while (!text.empty()) {
        const Step step = firstStep(text);
        if (step.codePoint < 0) return false;
        text.remove_prefix(step.length);
    }
    return true;
}

Sequence takeSequence(std::string_view& text)
{
    const Step step = firstStep(text);
    Sequence sequence{.bytes = text.substr(0, step.length)};
    if (step.codePoint >= 0) sequence.codePoint = static_cast<char32_t>(step.codePoint);
    text.remove_prefix(step.length);
    return sequence;
}

std::string decodeUTF8(std::span<const std::uint8_t> bytes)
{
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return isWellFormedUTF8(text) ? std::string(text) : std::string();
}

std::string_view trimmingHorizontalSpace(std::string_view text)
{
    return trimming(text, isHorizontalSpace);
}

std::string_view trimmingSpace(std::string_view text)
{
    return trimming(text, isSpace);
}

std::string lowercased(std::string_view text)
{
    std::string lower;
    lower.reserve(text.size());
    while (!text.empty()) {
        const Step step = firstStep(text);
        if (step.codePoint < 0) {
            lower += text.front();
        } else {
            std::array<utf8proc_uint8_t, 4> encoded{};
            const auto length =
                utf8proc_encode_char(utf8proc_tolower(step.codePoint), encoded.data());
            lower.append(encoded.begin(), encoded.begin() + length);
        }
        text.remove_prefix(step.length);
    }
    return lower;
}

std::size_t characterCount(std::string_view text)
{
    std::size_t count = 0;
    for (; !text.empty(); ++count) text.remove_prefix(firstCharacter(text));
    return count;
}

std::size_t wordCount(std::string_view text)
{
    std::size_t count = 0;
    bool isInWord = false;
    while (!text.empty()) {
        const Step step = firstStep(text);
        text.remove_prefix(step.length);
        if (step.codePoint < 0) continue;
        if (isSpace(step.codePoint)) {
            isInWord = false;
        } else if (!isInWord && isLetterOrNumber(static_cast<char32_t>(step.codePoint))) {
            isInWord = true;
            ++count;
        }
    }
    return count;
}

std::string_view prefix(std::string_view text, std::size_t count)
{
    std::size_t length = 0;
    for (; count > 0 && length < text.size(); --count)
        length += firstCharacter(text.substr(length));
    return text.substr(0, length);
}

std::string_view prefixFitting(std::string_view text, std::size_t bytes)
{
    std::size_t length = 0;
    while (length < text.size()) {
        const std::size_t next = length + firstCharacter(text.substr(length));
        if (next > bytes) break;
        length = next;
    }
    return text.substr(0, length);
}

std::string_view prefixOfSequences(std::string_view text, std::size_t bytes)
{
    if (text.size() <= bytes) return text;
    constexpr auto isContinuation = [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
    };
    std::size_t length = bytes;
    while (length > 0 && bytes - length < 3 && isContinuation(text[length])) --length;
    return text.substr(0, isContinuation(text[length]) ? bytes : length);
}

} // namespace korvane::text
