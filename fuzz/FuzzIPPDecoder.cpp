// A client's bytes as an IPP message. What decodes must come back the same once it has been
// encoded: the decoder leaves collections flat, so nothing of a message is lost on the way. Its
// attributes alone, found in pieces, must be decoded as they are in the whole.

#include "ipp/AttributeSection.h"

#include <algorithm>
#include <cstdlib>

using namespace korvane;

namespace {

void require(bool condition)
{
    if (!condition) std::abort();
}

void compareAttributes(const Data& whole, std::size_t piece, std::size_t maxSectionSize)
{
    ipp::AttributeSection section(maxSectionSize);
    std::size_t length = 0;
    while (length < whole.size() && !section.isComplete())
        length += section.take(whole.slice(length, piece).bytes());
    auto expected = ipp::decode(whole, maxSectionSize);
    const auto found = ipp::decode(whole.slice(0, length), maxSectionSize);
    require(found.has_value() == expected.has_value());
    if (!expected) return require(found.error().description() == expected.error().description());
    require(expected->documentData == whole.slice(length));
    expected->documentData = {};
    require(*found == *expected);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const Data whole = Data::copying(std::span(bytes, size));
    for (const std::size_t piece : {SIZE_MAX, std::size_t{1}, std::size_t{5}}) {
        compareAttributes(whole, piece, ipp::maxAttributeSectionSize);
        compareAttributes(whole, piece, 40);
    }
    const auto message = ipp::decode(whole);
    if (!message) return 0;
    const Data encoded = ipp::encode(*message);
    require(encoded.size() <= size + 1); // the end may have been missing
    const auto again = ipp::decode(encoded);
    require(again && *again == *message);
    return 0;
}
