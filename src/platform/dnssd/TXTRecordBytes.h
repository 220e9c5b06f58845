#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace korvane {

/**
 * The bytes of a TXT record: each pair as "key=value" behind a byte that counts them (RFC 6763,
 * section 6). A pair too long for that byte is left out. A record without pairs is one zero byte.
 */
std::vector<std::uint8_t> txtRecordBytes(const std::map<std::string, std::string>& pairs);

} // namespace korvane
