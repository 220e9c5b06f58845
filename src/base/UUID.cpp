#include "base/UUID.h"

#include <fmt/format.h>
#include <sys/random.h>

#include <array>
#include <cstdint>

namespace korvane {

std::string makeRandomUUID()
{
    std::array<std::uint16_t, 8> fields{};
    // Up to 256 bytes come whole or not at all; the only failure is a signal that arrives before
    // the kernel has gathered its first entropy.
    while (::getrandom(fields.data(), sizeof fields, 0) != sizeof fields) {
    }
    const auto& [a, b, c, d, e, f, g, h] = fields;
    return fmt::format("{:04x}{:04x}-{:04x}-4{:03x}-{:04x}-{:04x}{:04x}{:04x}", a, b, c, d & 0xFFF,
                       (e & 0x3FFF) | 0x8000, f, g, h);
}

} // namespace korvane
