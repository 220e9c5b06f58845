#include "lib/systemd/SystemLog.h"
#include "text/Text.h"

#include <algorithm>
#include <cstdlib>

using namespace korvane::text;

namespace {

void require(bool holds)
{
    if (!holds) std::abort();
}

void cutAt(std::string_view whole, std::size_t size)
{
    const std::string_view characters = prefixFitting(whole, size);
    const std::string_view sequences = prefixOfSequences(whole, size);
    require(characters.size() <= size && sequences.size() <= size);
    require(prefix(whole, characterCount(characters)) == characters);
    if (!isWellFormedUTF8(whole)) return;
    require(isWellFormedUTF8(sequences) && characters.size() <= sequences.size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view whole(reinterpret_cast<const char*>(data), size);
    require(characterCount(whole) <= size && prefix(whole, characterCount(whole)) == whole);
    for (std::size_t at = 0; at <= std::min<std::size_t>(size, 63); ++at) cutAt(whole, at);
    const std::string shown = korvane::escapedLogLine(whole);
    require(isWellFormedUTF8(shown) && korvane::escapedLogLine(shown) == shown);
    require(
        std::ranges::none_of(shown, [](unsigned char byte) { return byte < ' ' || byte == 0x7F; }));
    const std::string_view trimmed = trimmingSpace(whole);
    require(trimmingHorizontalSpace(trimmed) == trimmed);
    require(isWellFormedUTF8(lowercased(whole)) == isWellFormedUTF8(whole));
    return 0;
}
