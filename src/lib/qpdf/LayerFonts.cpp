#include "lib/qpdf/LayerFonts.h"

#include "base/UUID.h"
#include "lib/qpdf/LayerLine.h"
#include "lib/qpdf/PlaceholderFont.h"
#include "page/Helvetica.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <string_view>

namespace korvane {

namespace {

/** Code 0 stands for a missing character. */
constexpr std::size_t fontCapacity = 65535;
constexpr std::size_t maxMappingsPerBlock = 100;

void insertSubstituted(const TextWord& word, std::set<char32_t>& characters)
{
    for (const char32_t character : drawableText(word.text)) {
        if (!helvetica::winAnsiCode(character)) characters.insert(character);
    }
}

std::u32string substitutedCharacters(std::span<const PageTextLayer> layers)
{
    std::set<char32_t> characters;
    for (const PageTextLayer& layer : layers) {
        for (const TextLine& line : layer.lines) {
            for (const TextWord& word : line.words) insertSubstituted(word, characters);
        }
    }
    return {characters.begin(), characters.end()};
}

std::string utf16Hex(char32_t character)
{
    if (character < 0x10000) return fmt::format("{:04X}", std::uint32_t{character});
    const std::uint32_t offset = character - 0x10000;
    return fmt::format("{:04X}{:04X}", 0xD800 + (offset >> 10), 0xDC00 + (offset & 0x3FF));
}

std::string toUnicodeMap(std::u32string_view characters)
{
    std::string map = "/CIDInit /ProcSet findresource begin\n12 dict begin\nbegincmap\n"
                      "/CIDSystemInfo << /Registry (Adobe) /Ordering (UCS) /Supplement 0 >> def\n"
                      "/CMapName /Adobe-Identity-UCS def\n/CMapType 2 def\n"
                      "1 begincodespacerange\n<0000> <FFFF>\nendcodespacerange\n";
    for (std::size_t from = 0; from < characters.size(); from += maxMappingsPerBlock) {
        const std::size_t count = std::min(maxMappingsPerBlock, characters.size() - from);
        map += fmt::format("{} beginbfchar\n", count);
        for (std::size_t index = from; index < from + count; ++index) {
            map += fmt::format("<{:04X}> <{}>\n", index + 1, utf16Hex(characters[index]));
        }
        map += "endbfchar\n";
    }
    return map + "endcmap\nCMapName currentdict /CMap defineresource pop\nend\nend\n";
}

/** The widths of the codes; the array holds one run of equal widths after the other. */
QPDFObjectHandle widthArray(std::u32string_view characters)
{
    QPDFObjectHandle widths = QPDFObjectHandle::newArray();
    std::size_t from = 0;
    while (from < characters.size()) {
        const int width = helvetica::substituteWidth(characters[from]);
        std::size_t end = from;
        while (end < characters.size() && helvetica::substituteWidth(characters[end]) == width)
            ++end;
        // The code of the character at an index is one more than the index.
        for (const std::size_t number : {from + 1, end, static_cast<std::size_t>(width)}) {
            widths.appendItem(QPDFObjectHandle::newInteger(static_cast<long long>(number)));
        }
        from = end;
    }
    return widths;
}

/** The glyph of every code. */
std::string glyphMap(std::u32string_view characters)
{
    std::string map(2, '\0');
    for (const char32_t character : characters) {
        const std::uint16_t glyph =
            placeholder::glyphOfWidth(helvetica::substituteWidth(character));
        map += static_cast<char>(glyph >> 8);
        map += static_cast<char>(glyph & 0xFF);
    }
    return map;
}

QPDFObjectHandle makeHelvetica(QPDF& pdf)
{
    return pdf.makeIndirectObject(QPDFObjectHandle::parse(
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>"));
}

QPDFObjectHandle makeDescriptor(QPDF& pdf)
{
    const std::string program = placeholder::fontProgram();
    QPDFObjectHandle file = QPDFObjectHandle::newStream(&pdf, program);
    file.getDict().replaceKey("/Length1",
                              QPDFObjectHandle::newInteger(static_cast<long long>(program.size())));
    QPDFObjectHandle descriptor = QPDFObjectHandle::parse(
        "<< /Type /FontDescriptor /FontName /KorvanePlaceholder /Flags 4 /FontBBox [0 -207 1000 "
        "718]"
        " /ItalicAngle 0 /Ascent 718 /Descent -207 /CapHeight 718 /StemV 88 >>");
    descriptor.replaceKey("/FontFile2", file);
    return pdf.makeIndirectObject(descriptor);
}

QPDFObjectHandle makeComposite(QPDF& pdf, const QPDFObjectHandle& descriptor,
                               std::u32string_view characters)
{
    QPDFObjectHandle descendant = QPDFObjectHandle::parse(
        "<< /Type /Font /Subtype /CIDFontType2 /BaseFont /KorvanePlaceholder"
        " /CIDSystemInfo << /Registry (Adobe) /Ordering (Identity) /Supplement 0 >> >>");
    descendant.replaceKey("/FontDescriptor", descriptor);
    descendant.replaceKey("/W", widthArray(characters));
    descendant.replaceKey("/CIDToGIDMap", QPDFObjectHandle::newStream(&pdf, glyphMap(characters)));

    QPDFObjectHandle font =
        QPDFObjectHandle::parse("<< /Type /Font /Subtype /Type0 /BaseFont /KorvanePlaceholder"
                                " /Encoding /Identity-H >>");
    QPDFObjectHandle descendants = QPDFObjectHandle::newArray();
    descendants.appendItem(pdf.makeIndirectObject(descendant));
    font.replaceKey("/DescendantFonts", descendants);
    font.replaceKey("/ToUnicode", QPDFObjectHandle::newStream(&pdf, toUnicodeMap(characters)));
    return pdf.makeIndirectObject(font);
}

} // namespace

LayerFonts::LayerFonts(QPDF& pdf, std::span<const PageTextLayer> layers)
    : substituted_(substitutedCharacters(layers)), fonts_{makeHelvetica(pdf)},
      // By chance, so that no document can be full of just these names.
      namePrefix_("/Korvane" + makeRandomUUID().substr(0, 8) + "F")
{
    if (substituted_.empty()) return;
    const QPDFObjectHandle descriptor = makeDescriptor(pdf);
    const std::u32string_view characters = substituted_;
    for (std::size_t from = 0; from < characters.size(); from += fontCapacity) {
        fonts_.push_back(makeComposite(pdf, descriptor, characters.substr(from, fontCapacity)));
    }
}

LayerFonts::Glyph LayerFonts::glyph(char32_t character) const
{
    if (const auto code = helvetica::winAnsiCode(character)) return {.code = *code};
    const auto found = std::lower_bound(substituted_.begin(), substituted_.end(), character);
    const auto index = static_cast<std::size_t>(std::distance(substituted_.begin(), found));
    return {.font = 1 + index / fontCapacity,
            .code = static_cast<std::uint16_t>(1 + index % fontCapacity),
            .codeSize = 2};
}

std::string LayerFonts::enter(std::size_t font, QPDFObjectHandle resources) const
{
    QPDFObjectHandle entries = resources.getKey("/Font");
    if (!entries.isDictionary()) {
        entries = QPDFObjectHandle::newDictionary();
        resources.replaceKey("/Font", entries);
    }
    const QPDFObjGen own = fonts_[font].getObjGen();
    std::string name = namePrefix_ + std::to_string(font);
    while (entries.hasKey(name) && entries.getKey(name).getObjGen() != own) name += "x";
    entries.replaceKey(name, fonts_[font]);
    return name;
}

} // namespace korvane
