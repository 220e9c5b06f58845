#include "raster/ICCProfile.h"

#include "base/BigEndian.h"

#include <array>
#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

namespace korvane::icc {

namespace {

constexpr std::size_t headerSize = 128;
constexpr std::size_t tagTableEntrySize = 12;

struct Tag {
    std::string_view signature;
    Data content;
};

constexpr auto putUInt16 = appendBigEndian<std::uint16_t>;
constexpr auto putUInt32 = appendBigEndian<std::uint32_t>;

/** s15Fixed16Number. */
void putFixed(ByteBuffer& out, std::initializer_list<double> values)
{
    for (const double value : values) {
        const double scaled = value * 65536 + (value < 0 ? -0.5 : 0.5);
        putUInt32(out, static_cast<std::uint32_t>(static_cast<std::int32_t>(scaled)));
    }
}

ByteBuffer element(std::string_view type)
{
    ByteBuffer out;
    out.append(type);
    putUInt32(out, 0);
    return out;
}

Data fixedElement(std::string_view type, std::initializer_list<double> values)
{
    ByteBuffer out = element(type);
    putFixed(out, values);
    return out.take();
}

/** An ASCII text, in the one language en-US. */
Data textElement(std::string_view text)
{
    constexpr std::size_t textOffset = 28;
    ByteBuffer out = element("mluc");
    putUInt32(out, 1);
    putUInt32(out, 12);
    out.append("enUS");
    putUInt32(out, 2 * text.size());
    putUInt32(out, textOffset);
    for (const char letter : text) putUInt16(out, static_cast<unsigned char>(letter));
    return out.take();
}

/** The curve of sRGB: linear near black, else ((x + 0.055) / 1.055) ^ 2.4. */
Data sRGBCurve()
{
    ByteBuffer out = element("para");
    putUInt16(out, 3);
    putUInt16(out, 0);
    putFixed(out, {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045});
    return out.take();
}

/** x ^ exponent. */
Data powerCurve(double exponent)
{
    ByteBuffer out = element("para");
    putUInt16(out, 0);
    putUInt16(out, 0);
    putFixed(out, {exponent});
    return out.take();
}

Data identityCurve()
{
    ByteBuffer out = element("curv");
    putUInt32(out, 0);
    return out.take();
}

Data whitePoint()
{
    return fixedElement("XYZ ", {0.9642, 1, 0.8249});
}

/** How the colors were adapted from D65 to the D50 of all profiles, after Bradford. */
Data adaptationFromD65()
{
    return fixedElement("sf32", {1.047886, 0.022919, -0.050216, //
                                 0.029582, 0.990484, -0.017079, //
                                 -0.009252, 0.015073, 0.751678});
}

void putHeader(ByteBuffer& out, std::size_t size, std::string_view colorSpace)
{
    putUInt32(out, size);
    putUInt32(out, 0);
    putUInt32(out, 0x04200000);
    out.append("mntr");
    out.append(colorSpace);
    out.append("XYZ ");
    for (const std::uint32_t dateField : {2024U, 1U, 1U, 0U, 0U, 0U}) putUInt16(out, dateField);
    out.append("acsp");
    while (out.size() < 68) putUInt32(out, 0);
    putFixed(out, {0.9642, 1, 0.8249});
    while (out.size() < headerSize) putUInt32(out, 0);
}

/** A display profile. Tags that stand side by side with equal content share it. */
Data profile(std::string_view colorSpace, const std::vector<Tag>& tags)
{
    const std::size_t contentOffset = headerSize + 4 + tags.size() * tagTableEntrySize;
    ByteBuffer table;
    ByteBuffer content;
    std::size_t offset = 0;
    Data previous;
    for (const Tag& tag : tags) {
        if (!(tag.content == previous)) {
            offset = contentOffset + content.size();
            content.append(tag.content.bytes());
            while (content.size() % 4 != 0) content.append(std::uint8_t{0});
            previous = tag.content;
        }
        table.append(tag.signature);
        putUInt32(table, offset);
        putUInt32(table, tag.content.size());
    }

    ByteBuffer out;
    putHeader(out, contentOffset + content.size(), colorSpace);
    putUInt32(out, tags.size());
    out.append(table.bytes());
    out.append(content.bytes());
    return out.take();
}

Data grayProfile(std::string_view description, Data curve)
{
    return profile("GRAY", {{"desc", textElement(description)},
                            {"cprt", textElement("CC0")},
                            {"wtpt", whitePoint()},
                            {"kTRC", std::move(curve)}});
}

} // namespace

Data sRGBProfile()
{
    const Data curve = sRGBCurve();
    return profile("RGB ", {{"desc", textElement("sRGB")},
                            {"cprt", textElement("CC0")},
                            {"wtpt", whitePoint()},
                            {"chad", adaptationFromD65()},
                            {"rXYZ", fixedElement("XYZ ", {0.436041, 0.222485, 0.013920})},
                            {"gXYZ", fixedElement("XYZ ", {0.385113, 0.716905, 0.097067})},
                            {"bXYZ", fixedElement("XYZ ", {0.143046, 0.060610, 0.713913})},
                            {"rTRC", curve},
                            {"gTRC", curve},
                            {"bTRC", curve}});
}

Data linearGrayProfile()
{
    return grayProfile("Linear gray", identityCurve());
}

Data gamma22GrayProfile()
{
    return grayProfile("Gray gamma 2.2", powerCurve(2.2));
}

} // namespace korvane::icc
