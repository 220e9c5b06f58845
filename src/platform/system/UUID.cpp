#include "platform/system/UUID.h"

#include <fmt/format.h>
#include <sys/random.h>

#include <array>
#include <cstdint>
#include <span>

namespace korvane {

namespace {

using Octets = std::array<std::uint8_t, 16>;

Octets randomOctets()
{
    Octets octets{};
    // Up to 256 bytes come whole or not at all; the only failure is a signal that arrives before
    // the kernel has gathered its first entropy.
    while (::getrandom(octets.data(), octets.size(), 0) != std::ssize(octets)) {
    }
    return octets;
}

} // namespace

std::string makeRandomUUID()
{
    Octets octets = randomOctets();
    octets[6] = static_cast<std::uint8_t>((octets[6] & 0x0F) | 0x40);
    octets[8] = static_cast<std::uint8_t>((octets[8] & 0x3F) | 0x80);
    std::string text;
    for (std::size_t index = 0; index < octets.size(); ++index) {
        if (index == 4 || index == 6 || index == 8 || index == 10) text += '-';
        fmt::format_to(std::back_inserter(text), "{:02x}", octets.at(index));
    }
    return text;
}

} // namespace korvane
