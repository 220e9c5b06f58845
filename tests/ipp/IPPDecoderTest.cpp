#include "Wire.h"
#include "ipp/IPPCodec.h"

#include <gmock/gmock.h>

#include <optional>

namespace korvane {
namespace {

using namespace wire;

using ipp::Text;

IPPDecodeError truncated()
{
    return {IPPDecodeError::Truncated{}};
}

IPPDecodeError invalidTag(std::uint8_t tag)
{
    return {IPPDecodeError::InvalidTag{tag}};
}

IPPDecodeError invalidStructure(const char* detail)
{
    return {IPPDecodeError::InvalidStructure{detail}};
}

Result<IPPMessage, IPPDecodeError> decode(std::string_view text)
{
    return ipp::decode(Data::copying(text));
}

std::vector<IPPAttributeGroup> groups(std::string_view text)
{
    const auto message = decode(text);
    EXPECT_TRUE(message) << message.error().description();
    return message ? message->groups : std::vector<IPPAttributeGroup>();
}

IPPAttribute keyword(std::string name, std::vector<std::string> texts)
{
    return ipp::makeTextAttribute(std::move(name), std::move(texts), IPPTag::keyword);
}

TEST(IPPDecoder, NeedsAWholeHeader)
{
    for (std::size_t length = 0; length < header().size(); ++length) {
        EXPECT_EQ(decode(header().substr(0, length)), failure(truncated())) << length;
    }
    const auto message = decode(header());
    ASSERT_TRUE(message);
    EXPECT_EQ(*message, (IPPMessage{2, 0, 0x0B, 0x01020304, {}, {}}));
}

TEST(IPPDecoder, GivesWhatFollowsTheAttributesAsDocumentWithoutCopyingIt)
{
    EXPECT_TRUE(decode(header() + end)->documentData.empty());

    const Data input = Data::copying(header() + end + "%PDF-1.7\x03");
    const auto message = ipp::decode(input);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->documentData.text(), "%PDF-1.7\x03");
    EXPECT_EQ(message->documentData.bytes().data(), input.bytes().data() + header().size() + 1);
}

TEST(IPPDecoder, GathersTheValuesOfAnAttribute)
{
    EXPECT_EQ(groups(header() + operationGroup + record(IPPTag::keyword, "sides", "one-sided") +
                     record(IPPTag::keyword, "", "two-sided") +
                     record(IPPTag::keyword, "media", "auto") + end),
              (std::vector<IPPAttributeGroup>{
                  {IPPTag::operationAttributes,
                   {keyword("sides", {"one-sided", "two-sided"}), keyword("media", {"auto"})}}}));
}

TEST(IPPDecoder, LeavesOutAGroupThatTheEndOfTheInputCutsOff)
{
    const auto sides = record(IPPTag::keyword, "sides", "one-sided");
    EXPECT_EQ(groups(header() + operationGroup + sides + jobGroup + sides),
              (std::vector<IPPAttributeGroup>{
                  {IPPTag::operationAttributes, {keyword("sides", {"one-sided"})}}}));
}

TEST(IPPDecoder, FailsWhereverARecordIsCutOff)
{
    const auto start = header() + operationGroup;
    const auto sides = record(IPPTag::keyword, "sides", "one-sided");
    for (std::size_t length = 1; length < sides.size(); ++length) {
        EXPECT_EQ(decode(start + sides.substr(0, length)), failure(truncated())) << length;
    }
    EXPECT_TRUE(decode(start + sides));
}

TEST(IPPDecoder, KeepsGroupsOfTheSameTagApart)
{
    EXPECT_EQ(groups(header() + jobGroup + jobGroup + record(IPPTag::keyword, "a", "b") + end),
              (std::vector<IPPAttributeGroup>{{IPPTag::jobAttributes, {}},
                                              {IPPTag::jobAttributes, {keyword("a", {"b"})}}}));
}

TEST(IPPDecoder, StartsAnAttributeWithoutANameWhenNoneIsPending)
{
    EXPECT_EQ(groups(header() + jobGroup + record(IPPTag::keyword, "", "x") +
                     record(IPPTag::keyword, "", "y") + end),
              (std::vector<IPPAttributeGroup>{{IPPTag::jobAttributes, {keyword("", {"x", "y"})}}}));
}

TEST(IPPDecoder, MovesTheLastAttributeAheadOfTheFirstGroupIntoIt)
{
    const auto strays = record(IPPTag::keyword, "a", "1") + record(IPPTag::keyword, "b", "2");
    EXPECT_EQ(groups(header() + strays + jobGroup + end),
              (std::vector<IPPAttributeGroup>{{IPPTag::jobAttributes, {keyword("b", {"2"})}}}));
    EXPECT_TRUE(groups(header() + strays + end).empty());
}

TEST(IPPDecoder, RefusesTagsThatItDoesNotKnow)
{
    constexpr std::uint8_t tags[] = {0x00, 0x06, 0x0F, 0x11, 0x14, 0x24, 0x38, 0x43, 0x4B, 0xFF};
    for (const std::uint8_t tag : tags) {
        EXPECT_EQ(decode(header() + jobGroup + bytes(tag)), failure(invalidTag(tag)));
    }
}

/** The value that the decoder makes of one record. */
Result<IPPValue, IPPDecodeError> decodedValue(std::uint8_t tag, std::string_view value)
{
    const auto message = decode(header() + jobGroup + record(tag, "a", value) + end);
    return message.map(
        [](const IPPMessage& decoded) { return decoded.groups[0].attributes[0].values[0]; });
}

struct ValueCase {
    const char* description;
    std::uint8_t tag;
    std::string value;
    Result<IPPValue, IPPDecodeError> expected;
};

TEST(IPPDecoder, ReadsEveryValueSyntax)
{
    const std::string word = bytes(0xFF, 0xFF, 0xFF, 0xFE);
    const std::string five = bytes(0, 0, 0, 5);
    const ValueCase cases[] = {
        {"negative integer", 0x21, word, ipp::Integer{-2}},
        {"short integer", 0x21, bytes(0, 0, 1), failure(invalidStructure("integer length"))},
        {"long integer", 0x21, five + "x", failure(invalidStructure("integer length"))},
        {"enum", 0x23, five, ipp::EnumValue{5}},
        {"short enum", 0x23, "", failure(invalidStructure("integer length"))},
        {"false", 0x22, bytes(0), ipp::Boolean{false}},
        {"true, though not 1", 0x22, bytes(2), ipp::Boolean{true}},
        {"long boolean", 0x22, bytes(0, 1), failure(invalidStructure("boolean length"))},
        {"per inch", 0x32, five + word + bytes(3), ipp::Resolution{5, -2, true}},
        {"per centimetre", 0x32, five + word + bytes(4), ipp::Resolution{5, -2, false}},
        {"no known unit", 0x32, five + word + bytes(7), ipp::Resolution{5, -2, false}},
        {"short resolution", 0x32, five + word, failure(invalidStructure("resolution length"))},
        {"range", 0x33, word + five, ipp::RangeOfInteger{-2, 5}},
        {"short range", 0x33, word, failure(invalidStructure("range length"))},
        {"unsupported", 0x10, "why", ipp::NoValue{}},
        {"unknown", 0x12, "who", ipp::NoValue{}},
        {"no value", 0x13, "", ipp::NoValue{}},
        {"keyword", 0x44, "none", Text{"none", IPPTag::keyword}},
        {"name in UTF-8", 0x42, "Gr\xC3\xBC\xC3\x9F", Text{"Grüß", IPPTag::nameWithoutLang}},
        {"name not in UTF-8", 0x42, "Gr\xFC\xDF", Text{"", IPPTag::nameWithoutLang}},
        {"date", 0x31, "\x07\xE5 12345678", Text{"", IPPTag::dateTime}},
        {"language and text", 0x35, field("en") + field("a"),
         Text{field("en") + field("a"), IPPTag::textWithLanguage}},
    };
    for (const ValueCase& each : cases) {
        SCOPED_TRACE(each.description);
        EXPECT_EQ(decodedValue(each.tag, each.value), each.expected);
    }
}

TEST(IPPDecoder, TakesANameThatIsNotUTF8ForOneMoreValue)
{
    EXPECT_EQ(
        groups(header() + jobGroup + record(IPPTag::keyword, "a", "1") +
               record(IPPTag::keyword, "\xFF", "2") + end),
        (std::vector<IPPAttributeGroup>{{IPPTag::jobAttributes, {keyword("a", {"1", "2"})}}}));
}

TEST(IPPDecoder, LeavesCollectionsFlat)
{
    const auto media = record(IPPTag::begCollection, "media-col", "") +
                       record(IPPTag::memberAttrName, "", "media-top-margin") +
                       record(IPPTag::integer, "", bytes(0, 0, 0, 0)) +
                       record(IPPTag::endCollection, "", "");
    EXPECT_EQ(groups(header() + jobGroup + media + end)[0].attributes,
              (std::vector<IPPAttribute>{{"media-col",
                                          {Text{"", IPPTag::begCollection},
                                           Text{"media-top-margin", IPPTag::memberAttrName},
                                           ipp::Integer{0}, Text{"", IPPTag::endCollection}}}}));
}

TEST(IPPDecoder, RefusesToFillTheMemoryWithTinyAttributes)
{
    const std::size_t most = ipp::largestAttributeSection;
    std::string flood = header() + jobGroup + record(IPPTag::keyword, "a", "");
    while (flood.size() <= most) flood += record(IPPTag::keyword, "", "");
    EXPECT_EQ(decode(flood + end), failure(invalidStructure("attributes length")));

    const std::string document(most, 'x');
    EXPECT_EQ(decode(header() + end + document)->documentData.size(), most);
}

} // namespace
} // namespace korvane
