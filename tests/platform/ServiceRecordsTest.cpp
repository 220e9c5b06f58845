#include "platform/dnssd/ServiceType.h"
#include "platform/dnssd/TXTRecordBytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace korvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string txtText(const std::map<std::string, std::string>& pairs)
{
    const auto bytes = txtRecordBytes(pairs);
    return {bytes.begin(), bytes.end()};
}

TEST(TXTRecordBytes, CountsEveryPairAndKeepsEmptyValuesAndUTF8)
{
    EXPECT_EQ(txtText({{"rp", "ipp/print"}, {"note", ""}, {"ty", "Büro"}}),
              "\x05note=\x0Crp=ipp/print\x08ty=B\xC3\xBCro");
}

TEST(TXTRecordBytes, LeavesOutAPairThatOneByteCannotCount)
{
    const std::string longest(250, 'x');
    EXPECT_EQ(txtText({{"note", longest}, {"a", "1"}}), "\x03"
                                                        "a=1\xFFnote=" +
                                                            longest);
    EXPECT_EQ(txtText({{"note", longest + "x"}, {"a", "1"}}), "\x03"
                                                              "a=1");
    EXPECT_EQ(txtText({{"note", longest + "x"}}), std::string(1, '\0'));
}

TEST(ServiceType, NamesItsSubtypesInFull)
{
    const auto plain = parseServiceType("_ipp._tcp");
    EXPECT_EQ(plain.type, "_ipp._tcp");
    EXPECT_THAT(plain.subtypes, IsEmpty());
    const auto several = parseServiceType("_ipp._tcp,_universal,_print");
    EXPECT_EQ(several.type, "_ipp._tcp");
    EXPECT_THAT(several.subtypes,
                ElementsAre("_universal._sub._ipp._tcp", "_print._sub._ipp._tcp"));
}

} // namespace
} // namespace korvane
