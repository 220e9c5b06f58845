#include "text/PercentEncoding.h"

#include <algorithm>
#include <charconv>

namespace korvane::text {

namespace {

constexpr std::string_view digits = "0123456789ABCDEF";

} // namespace

std::string percentEncoded(std::string_view bytes, std::string_view plain)
{
    std::string encoded;
    encoded.reserve(bytes.size());
    for (const char c : bytes) {
        if (plain.find(c) != std::string_view::npos) {
            encoded += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            encoded += '%';
            encoded += digits[byte >> 4U];
            encoded += digits[byte & 0xFU];
        }
    }
    return encoded;
}

bool beginsPercentEncoded(std::string_view text)
{
    return text.size() >= 3 && text[0] == '%' &&
           text.substr(1, 2).find_first_not_of(digits) == std::string_view::npos;
}

std::string percentDecoded(std::string_view text)
{
    std::string decoded;
    while (!text.empty()) {
        unsigned byte = 0;
        const char* const end = text.data() + std::min<std::size_t>(text.size(), 3);
        const bool isEncoded = text.size() >= 3 && text.front() == '%' &&
                               std::from_chars(text.data() + 1, end, byte, 16).ptr == end;
        decoded += isEncoded ? static_cast<char>(byte) : text.front();
        text.remove_prefix(isEncoded ? 3 : 1);
    }
    return decoded;
}

std::string fileURI(std::string_view path)
{
    return "file://" + percentEncoded(path);
}

} // namespace korvane::text
