#include "Wire.h"
#include "ipp/IPPCodec.h"

#include <gtest/gtest.h>

namespace korvane {
namespace {

using namespace wire;

using ipp::Text;

/** What the encoder writes between the header and the end for one group. */
std::string encoded(std::vector<IPPAttribute> attributes)
{
    const Data whole =
        ipp::encode({2, 0, 0x0B, 0x01020304, {{IPPTag::jobAttributes, attributes}}, {}});
    EXPECT_EQ(whole.text().substr(0, header().size() + 1), header() + jobGroup);
    EXPECT_EQ(whole.text().back(), 0x03);
    return std::string(whole.slice(header().size() + 1).text().substr(0, whole.size() - 10));
}

TEST(IPPEncoder, WritesEveryValueSyntax)
{
    const std::string word = bytes(0xFF, 0xFF, 0xFF, 0xFE);
    const std::string five = bytes(0, 0, 0, 5);
    const struct {
        IPPValue value;
        std::string expected;
    } cases[] = {
        {ipp::Integer{-2}, record(0x21, "a", word)},
        {ipp::Boolean{true}, record(0x22, "a", bytes(1))},
        {ipp::Boolean{false}, record(0x22, "a", bytes(0))},
        {ipp::EnumValue{5}, record(0x23, "a", five)},
        {ipp::RangeOfInteger{-2, 5}, record(0x33, "a", word + five)},
        {ipp::Resolution{5, -2, true}, record(0x32, "a", five + word + bytes(3))},
        {ipp::Resolution{5, -2, false}, record(0x32, "a", five + word + bytes(4))},
        {Text{"ipp://b", IPPTag::uri}, record(0x45, "a", "ipp://b")},
        {Text{"", IPPTag::textWithoutLang}, record(0x41, "a", "")},
        {ipp::NoValue{}, record(0x13, "a", "")},
        {ipp::Collection{}, record(0x34, "a", "") + bytes(0x37, 0, 0, 0, 0)},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.expected);
        EXPECT_EQ(encoded({{"a", {each.value}}}), each.expected);
    }
}

TEST(IPPEncoder, WritesLengthsInTwoBytes)
{
    EXPECT_EQ(encoded({ipp::makeTextAttribute("compression-supported", {"none"}, IPPTag::keyword)}),
              bytes(0x44, 0x00, 0x15) + "compression-supported" + bytes(0x00, 0x04) + "none");
    const std::string text(300, 'x');
    EXPECT_EQ(encoded({ipp::makeTextAttribute("a", {text}, IPPTag::keyword)}),
              bytes(0x44, 0x00, 0x01) + "a" + bytes(0x01, 0x2C) + text);
}

TEST(IPPEncoder, NamesAnAttributeOnceAndLeavesOutOneWithoutValues)
{
    EXPECT_EQ(encoded({{"empty", {}},
                       ipp::makeIntegerAttribute("a", {1, 2}, ipp::IntegerSyntax::enumValue)}),
              record(0x23, "a", bytes(0, 0, 0, 1)) + record(0x23, "", bytes(0, 0, 0, 2)));
    EXPECT_EQ(encoded({}), "");
}

TEST(IPPEncoder, NestsCollections)
{
    const ipp::Collection inner{{{"x", ipp::Integer{5}}}};
    const ipp::Collection outer{{{"size", inner}, {"type", ipp::NoValue{}}}};
    const std::string expected = record(0x4A, "", "size") + record(0x34, "", "") +
                                 record(0x4A, "", "x") + record(0x21, "", bytes(0, 0, 0, 5)) +
                                 record(0x37, "", "") + record(0x4A, "", "type") +
                                 record(0x13, "", "") + record(0x37, "", "");
    EXPECT_EQ(encoded({{"media-col", {outer, outer}}}),
              record(0x34, "media-col", "") + expected + record(0x34, "", "") + expected);
}

TEST(IPPEncoder, CutsWhatItsLengthsCannotSayWhereACharacterStarts)
{
    const std::string longest(65534, 'x');
    const std::string tooLong = longest + "ü";
    EXPECT_EQ(encoded({{tooLong, {Text{tooLong, IPPTag::keyword}}}}),
              record(0x44, longest, longest));
    EXPECT_EQ(encoded({{"a", {ipp::Collection{{{tooLong, ipp::NoValue{}}}}}}}),
              record(0x34, "a", "") + record(0x4A, "", longest) + record(0x13, "", "") +
                  record(0x37, "", ""));
}

TEST(IPPEncoder, WritesWhatTheDecoderReads)
{
    const IPPMessage message{
        .versionMajor = 1,
        .versionMinor = 1,
        .code = 0x0507,
        .requestID = 0xFEDCBA98,
        .groups =
            {{IPPTag::operationAttributes,
              {ipp::makeTextAttribute("attributes-charset", {"utf-8"}, IPPTag::charset),
               ipp::makeTextAttribute("which-jobs", {"completed", "ünfinished"}, IPPTag::keyword)}},
             {IPPTag::unsupportedAttrs, {}},
             {IPPTag::printerAttributes,
              {{"mixed",
                {ipp::Integer{-7}, ipp::Boolean{true}, ipp::EnumValue{3},
                 ipp::RangeOfInteger{1, 999}, ipp::Resolution{300, 600, false}, ipp::NoValue{}}}}}},
        .documentData = Data::copying("document\x03"),
    };
    EXPECT_EQ(ipp::decode(ipp::encode(message)), message);
}

} // namespace
} // namespace korvane
