#include "lib/xml/XMPPacket.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace korvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    auto packet = XMPPacket::parse({reinterpret_cast<const char*>(bytes), size});
    if (!packet) return 0;
    packet->removeConformanceClaims();
    packet->setInformation(
        {{"Title", "A & B"}, {"Author", "fuzzed"}, {"CreationDate", "D:20250301150509+01'00"}});
    // What we wrote is XMP that we can read, and says what was set.
    const auto again = XMPPacket::parse(packet->text());
    if (!again || !again->hasCreationDate()) std::abort();
    return 0;
}
