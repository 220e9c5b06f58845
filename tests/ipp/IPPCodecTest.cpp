#include "ipp/IPPCodec.h"

#include <gmock/gmock.h>

#include <chrono>
#include <set>

namespace korvane {
namespace {

using ipp::Collection;
using ipp::Resolution;
using ipp::Text;

/** Raw bytes, given as numbers. */
template <typename... Bytes>
std::string bytes(Bytes... values)
{
    return {static_cast<char>(values)...};
}

std::string field(std::string_view text)
{
    return bytes(text.size() >> 8, text.size() & 0xFF) + std::string(text);
}

std::string record(std::uint8_t tag, std::string_view name, std::string_view value)
{
    return bytes(tag) + field(name) + field(value);
}

std::string keyword(std::string_view name, std::string_view value)
{
    return record(0x44, name, value);
}

const std::string header = bytes(2, 0, 0, 0x0B, 1, 2, 3, 4);
const std::string job = bytes(0x02);
const std::string end = bytes(0x03);

IPPMessage message(std::vector<IPPAttribute> attributes)
{
    return {2, 0, 0x0B, 0x01020304, {{IPPTag::jobAttributes, std::move(attributes)}}, {}};
}

std::string errorOf(std::string_view input,
                    std::size_t maxSectionSize = ipp::maxAttributeSectionSize)
{
    const auto decoded = ipp::decode(Data::copying(input), maxSectionSize);
    return decoded ? "none" : decoded.error().description();
}

/** The groups of keywords as 2{name=value,value,;name=...}. */
std::string groupsOf(std::string_view input)
{
    const IPPMessage decoded = ipp::decode(Data::copying(input)).value();
    std::string text;
    for (const IPPAttributeGroup& group : decoded.groups) {
        text += std::to_string(rawValue(group.tag)) + "{";
        for (const IPPAttribute& attribute : group.attributes) {
            text += attribute.name + "=";
            for (const IPPValue& value : attribute.values) text += std::get<Text>(value).text + ",";
            text += ";";
        }
        text += "}";
    }
    return text;
}

TEST(IPPCodec, ReadsAndWritesEveryValueSyntax)
{
    const std::string word = bytes(0xFF, 0xFF, 0xFF, 0xFE);
    const std::string five = bytes(0, 0, 0, 5);
    const std::string tagged = field("en") + field(std::string(200, 'a'));
    enum Way { both, reading, writing };
    const std::tuple<std::uint8_t, std::string, IPPValue, Way> cases[] = {
        {0x21, word, ipp::Integer{-2}, both},
        {0x23, five, ipp::EnumValue{5}, both},
        {0x22, bytes(0), ipp::Boolean{false}, both},
        {0x22, bytes(1), ipp::Boolean{true}, both},
        {0x22, bytes(2), ipp::Boolean{true}, reading},
        {0x32, five + word + bytes(3), Resolution{5, -2, true}, both},
        {0x32, five + word + bytes(4), Resolution{5, -2, false}, both},
        {0x32, five + word + bytes(7), Resolution{5, -2, false}, reading},
        {0x33, word + five, ipp::RangeOfInteger{-2, 5}, both},
        {0x10, "why", ipp::NoValue{}, reading},
        {0x12, "who", ipp::NoValue{}, reading},
        {0x13, "", ipp::NoValue{}, both},
        {0x12, "", ipp::NoValue{IPPTag::unknown}, writing},
        {0x31, bytes(0x07, 0xE8, 2, 29, 23, 59, 58, 0, '+', 0, 0),
         ipp::DateTime{std::chrono::sys_days(std::chrono::February / 29 / 2024) +
                       std::chrono::seconds(86398)},
         writing},
        {0x44, "none", Text{"none", IPPTag::keyword}, both},
        {0x45, "ipp://b", Text{"ipp://b", IPPTag::uri}, both},
        {0x41, "", Text{"", IPPTag::textWithoutLang}, both},
        {0x42, "Gr\xC3\xBC\xC3\x9F", Text{"Grüß", IPPTag::nameWithoutLang}, both},
        {0x42, "Gr\xFC\xDF", Text{"", IPPTag::nameWithoutLang}, reading},
        {0x31, "\x07\xE5 12345678", Text{"", IPPTag::dateTime}, reading},
        {0x35, tagged, Text{std::string(200, 'a'), IPPTag::textWithoutLang}, reading},
        {0x36, tagged, Text{std::string(200, 'a'), IPPTag::nameWithoutLang}, reading},
        {0x36, tagged + "a", Text{"", IPPTag::nameWithoutLang}, reading},
        {0x36, tagged.substr(0, 9), Text{"", IPPTag::nameWithoutLang}, reading}};
    for (const auto& [tag, value, expected, way] : cases) {
        SCOPED_TRACE(testing::Message() << int{tag} << testing::PrintToString(value));
        const std::string wire = header + job + record(tag, "a", value) + end;
        if (way != writing) {
            EXPECT_EQ(ipp::decode(Data::copying(wire)), message({{"a", {expected}}}));
        }
        if (way == reading) continue;
        EXPECT_EQ(ipp::encode(message({{"a", {expected}}})).text(), wire);
    }
}

TEST(IPPDecoder, RefusesValuesOfTheWrongSize)
{
    const std::tuple<std::uint8_t, std::size_t, std::string> cases[] = {
        {0x21, 3, "integer"}, {0x21, 5, "integer"},    {0x23, 0, "integer"}, {0x22, 2, "boolean"},
        {0x22, 0, "boolean"}, {0x32, 8, "resolution"}, {0x33, 4, "range"}};
    for (const auto& [tag, size, syntax] : cases) {
        EXPECT_EQ(errorOf(header + job + record(tag, "a", std::string(size, '\0')) + end),
                  "invalidStructure(\"" + syntax + " length\")");
    }
}

TEST(IPPDecoder, RefusesTagsThatItDoesNotKnow)
{
    const std::set<int> known = {0x01, 0x02, 0x03, 0x04, 0x05, 0x10, 0x12, 0x13, 0x21, 0x22,
                                 0x23, 0x30, 0x31, 0x32, 0x33, 0x34, 0x35, 0x36, 0x37, 0x41,
                                 0x42, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x4A};
    for (int tag = 0; tag <= 0xFF; ++tag) {
        const std::string refused = "invalidTag(" + std::to_string(tag) + ")";
        EXPECT_NE(errorOf(header + job + bytes(tag)) == refused, known.contains(tag)) << tag;
    }
}

TEST(IPPDecoder, FailsWhereverTheHeaderOrARecordIsCutOff)
{
    const std::string whole = header + job + keyword("sides", "one-sided");
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const bool isWhole = size == 8 || size == 9 || size == whole.size();
        EXPECT_EQ(errorOf(whole.substr(0, size)), isWhole ? "none" : "truncated") << size;
    }
}

TEST(IPPDecoder, GathersAttributesAndGroups)
{
    const std::string strays = keyword("a", "1") + keyword("b", "2");
    const std::pair<std::string, std::string> cases[] = {
        {bytes(1) + keyword("a", "1") + keyword("", "2") + keyword("b", "3") + end,
         "1{a=1,2,;b=3,;}"},
        {bytes(1) + keyword("a", "1") + job + keyword("b", "2"), "1{a=1,;}"}, // the end is missing
        {job + job + keyword("a", "1") + end, "2{}2{a=1,;}"},
        {job + keyword("", "x") + keyword("", "y") + end, "2{=x,y,;}"},
        {strays + job + end, "2{b=2,;}"},
        {strays + end, ""},
        {job + keyword("a", "1") + keyword("\xFF", "2") + end, "2{a=1,2,;}"}};
    for (const auto& [input, groups] : cases) EXPECT_EQ(groupsOf(header + input), groups);
}

TEST(IPPDecoder, GivesWhatFollowsTheAttributesAsDocumentWithoutCopyingIt)
{
    const Data input = Data::copying(header + end + "%PDF-1.7\x03");
    const auto decoded = ipp::decode(input);
    EXPECT_EQ(decoded->documentData.text(), "%PDF-1.7\x03");
    EXPECT_EQ(decoded->documentData.bytes().data(), input.bytes().data() + header.size() + 1);
}

TEST(IPPDecoder, RefusesToFillTheMemoryWithTinyAttributes)
{
    const std::string flood = header + job + keyword("a", "") + keyword("", "");
    const std::string document(100, 'x');
    EXPECT_EQ(errorOf(flood + end + document, flood.size()), "none");
    EXPECT_EQ(errorOf(flood + end + document, flood.size() - 1),
              "invalidStructure(\"attributes length\")");
}

TEST(IPPEncoder, NestsCollectionsThatTheDecoderLeavesFlat)
{
    const std::string begin = record(0x34, "", ""), stop = record(0x37, "", "");
    const Collection inner{{{"x", ipp::Integer{5}}}};
    const Collection outer{{{"size", inner}, {"type", ipp::NoValue{}}}};
    const std::string flat = record(0x4A, "", "size") + begin + record(0x4A, "", "x") +
                             record(0x21, "", bytes(0, 0, 0, 5)) + stop + record(0x4A, "", "type") +
                             record(0x13, "", "") + stop;
    const Data wire = ipp::encode(message({{"empty", {}}, {"a", {outer, outer, Collection{}}}}));
    EXPECT_EQ(wire.text(),
              header + job + record(0x34, "a", "") + flat + begin + flat + begin + stop + end);
    const std::vector<IPPValue> values = ipp::decode(wire)->groups[0].attributes[0].values;
    ASSERT_EQ(values.size(), 20U);
    EXPECT_EQ(values[1], IPPValue(Text{"size", IPPTag::memberAttrName}));
}

TEST(IPPEncoder, CutsWhatItsLengthsCannotSayWhereACharacterStarts)
{
    const std::string longest(65534, 'x');
    const std::string tooLong = longest + "ü";
    const IPPMessage value = message({{tooLong, {Text{tooLong, IPPTag::keyword}}}});
    EXPECT_EQ(ipp::encode(value).text(), header + job + keyword(longest, longest) + end);
    const IPPMessage member = message({{"a", {Collection{{{tooLong, ipp::NoValue{}}}}}}});
    EXPECT_NE(ipp::encode(member).text().find(record(0x4A, "", longest) + record(0x13, "", "")),
              std::string_view::npos);
}

} // namespace
} // namespace korvane
