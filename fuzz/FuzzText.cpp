#include "platform/log/LogLine.h"
#include "platform/text/Text.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

namespace text = korvane::text;

void require(bool holds)
{
    if (!holds) std::abort();
}

void cutAnywhere(std::string_view whole)
{
    const std::size_t count = text::characterCount(whole);
    require(count <= whole.size());
    require(text::prefix(whole, count) == whole);
    for (std::size_t size = 0; size <= whole.size() && size < 64; ++size) {
        const std::string_view characters = text::prefixFitting(whole, size);
        const std::string_view sequences = text::prefixOfSequences(whole, size);
        require(characters.size() <= size && sequences.size() <= size);
        require(text::prefix(whole, text::characterCount(characters)) == characters);
        if (!text::isWellFormedUTF8(whole)) continue;
        require(text::isWellFormedUTF8(sequences) && characters.size() <= sequences.size());
    }
}

void showAsLogLine(std::string_view whole)
{
    const std::string shown = korvane::escapedLogLine(whole);
    require(text::isWellFormedUTF8(shown));
    for (const char byte : shown) require(static_cast<unsigned char>(byte) >= ' ' && byte != 0x7F);
    require(korvane::escapedLogLine(shown) == shown);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view whole(reinterpret_cast<const char*>(data), size);
    cutAnywhere(whole);
    showAsLogLine(whole);
    const std::string_view trimmed = text::trimmingSpace(whole);
    require(text::trimmingHorizontalSpace(trimmed) == trimmed);
    const std::string lower = text::lowercased(whole);
    require(text::isWellFormedUTF8(lower) == text::isWellFormedUTF8(whole));
    return 0;
}
