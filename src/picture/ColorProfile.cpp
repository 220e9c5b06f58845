#include "picture/ColorProfile.h"

#include "base/BigEndian.h"

#include <algorithm>
#include <string_view>

namespace korvane {

namespace {

constexpr std::size_t headerSize = 128;

std::string_view colorSpaceSignature(std::size_t components)
{
    if (components == 1) return "GRAY";
    return components == 3 ? "RGB " : "CMYK";
}

/** The header's fields (ICC.1:2004-10, section 7.2). */
bool isProfile(std::span<const std::uint8_t> profile, std::size_t components)
{
    if (profile.size() < headerSize || bigEndian<std::uint32_t>(profile) != profile.size())
        return false;
    const std::string_view text(reinterpret_cast<const char*>(profile.data()), headerSize);
    constexpr std::array<std::string_view, 4> classes = {"scnr", "mntr", "prtr", "spac"};
    return text.substr(36, 4) == "acsp" && text.substr(16, 4) == colorSpaceSignature(components) &&
           std::ranges::find(classes, text.substr(12, 4)) != classes.end();
}

} // namespace

void ProfileChunks::add(std::span<const std::uint8_t> segment)
{
    if (segment.size() < 2) return;
    pieces_.at(segment[0]) = segment.subspan(2);
    count_ = segment[1];
}

std::vector<std::uint8_t> ProfileChunks::take(std::size_t components) const
{
    std::vector<std::uint8_t> profile;
    for (std::size_t number = 1; number <= count_; ++number)
        profile.insert(profile.end(), pieces_.at(number).begin(), pieces_.at(number).end());
    if (!isProfile(profile, components)) profile.clear();
    return profile;
}

} // namespace korvane
