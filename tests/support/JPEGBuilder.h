#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/** The headers of JPEG files, piece by piece. */
namespace korvane::test {

/** So many bytes, the high one first. */
inline std::string bigEndianText(std::size_t number, std::size_t size)
{
    std::string bytes(size, '\0');
    for (; size > 0; number >>= 8) bytes[--size] = static_cast<char>(number);
    return bytes;
}

inline std::string segment(int marker, std::string_view content)
{
    return "\xFF" + std::string(1, static_cast<char>(marker)) +
           bigEndianText(content.size() + 2, 2) + std::string(content);
}

struct Frame {
    int marker = 0xC0;
    std::size_t width = 320;
    std::size_t height = 240;
    /** One letter or number a component. */
    std::string_view identifiers = "\1\2\3";
    std::size_t bits = 8;
    char sampling = 0x11;
};

inline std::string frame(const Frame& of = {})
{
    std::string content = bigEndianText(of.bits, 1) + bigEndianText(of.height, 2) +
                          bigEndianText(of.width, 2) + bigEndianText(of.identifiers.size(), 1);
    for (const char identifier : of.identifiers)
        content += std::string(1, identifier) + of.sampling + '\0';
    return segment(of.marker, content);
}

inline std::string jfif(std::size_t unit, std::size_t x, std::size_t y)
{
    return segment(0xE0, std::string("JFIF\0\1\2", 7) + bigEndianText(unit, 1) +
                             bigEndianText(x, 2) + bigEndianText(y, 2) + std::string(2, '\0'));
}

inline std::string adobe()
{
    return segment(0xEE, std::string("Adobe\0\x64\0\0\0\0\2", 12));
}

inline std::string quantization()
{
    return segment(0xDB, std::string(1, '\0') + std::string(64, '\1'));
}

inline std::string scan(char components = 1)
{
    std::string content(1, components);
    for (char each = 1; each <= components; ++each) content += std::string(1, each) + '\0';
    return segment(0xDA, content + std::string("\0\x3F\0", 3));
}

/** What cameras write: orientation and resolution, in either byte order. */
struct Exif {
    std::size_t orientation = 1;
    std::size_t x = 72;
    std::size_t y = 72;
    std::size_t unit = 2;
    bool isBigEndian = true;
    std::size_t denominator = 1;
};

inline std::string exif(const Exif& of = {})
{
    constexpr std::size_t shortType = 3, rationalType = 5, values = 8 + 2 + 4 * 12 + 4;
    const auto number = [&](std::size_t value, std::size_t size) {
        const std::string bytes = bigEndianText(value, size);
        return of.isBigEndian ? bytes : std::string(bytes.rbegin(), bytes.rend());
    };
    const auto entry = [&](std::size_t tag, std::size_t type, const std::string& value) {
        return number(tag, 2) + number(type, 2) + number(1, 4) + value;
    };
    const std::string pad(2, '\0');
    return segment(0xE1, std::string("Exif\0\0", 6) + (of.isBigEndian ? "MM" : "II") +
                             number(42, 2) + number(8, 4) + number(4, 2) +
                             entry(0x0112, shortType, number(of.orientation, 2) + pad) +
                             entry(0x011A, rationalType, number(values, 4)) +
                             entry(0x011B, rationalType, number(values + 8, 4)) +
                             entry(0x0128, shortType, number(of.unit, 2) + pad) + number(0, 4) +
                             number(of.x, 4) + number(of.denominator, 4) + number(of.y, 4) +
                             number(of.denominator, 4));
}

/** The header of an ICC profile for these colors, and some bytes. */
inline std::string profile(std::string_view colors, std::size_t size = 300)
{
    std::string bytes(size, 'p');
    bytes.replace(0, 4, bigEndianText(size, 4)).replace(12, 4, "mntr").replace(36, 4, "acsp");
    return bytes.replace(16, 4, colors);
}

inline std::string profileChunk(char number, char count, std::string_view bytes)
{
    return segment(0xE2, std::string("ICC_PROFILE\0", 12) + number + count + std::string(bytes));
}

inline std::string jpeg(const std::string& headers)
{
    return "\xFF\xD8" + headers;
}

} // namespace korvane::test
