#include "platform/dnssd/TXTRecordBytes.h"

namespace korvane {

std::vector<std::uint8_t> txtRecordBytes(const std::map<std::string, std::string>& pairs)
{
    constexpr std::size_t longestString = 255;
    std::vector<std::uint8_t> bytes;
    for (const auto& [key, value] : pairs) {
        std::string pair = key;
        pair.append("=").append(value);
        if (pair.size() > longestString) continue;
        bytes.push_back(static_cast<std::uint8_t>(pair.size()));
        bytes.insert(bytes.end(), pair.begin(), pair.end());
    }
    if (bytes.empty()) bytes.push_back(0);
    return bytes;
}

} // namespace korvane
