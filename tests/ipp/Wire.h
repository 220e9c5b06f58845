#pragma once

#include "ipp/IPPTag.h"
#include "platform/base/Data.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace korvane::wire {

/** Raw bytes, given as numbers. */
template <typename... Bytes>
std::string bytes(Bytes... values)
{
    return {static_cast<char>(values)...};
}

inline std::string field(std::string_view text)
{
    return bytes(text.size() >> 8, text.size() & 0xFF) + std::string(text);
}

inline std::string record(std::uint8_t tag, std::string_view name, std::string_view value)
{
    return bytes(tag) + field(name) + field(value);
}

inline std::string record(IPPTag tag, std::string_view name, std::string_view value)
{
    return record(rawValue(tag), name, value);
}

/** IPP/2.0, code 0x000B, request-id 0x01020304. */
inline std::string header()
{
    return bytes(2, 0, 0, 0x0B, 1, 2, 3, 4);
}

inline const std::string operationGroup = bytes(0x01);
inline const std::string jobGroup = bytes(0x02);
inline const std::string end = bytes(0x03);
inline const std::string printerGroup = bytes(0x04);

} // namespace korvane::wire
