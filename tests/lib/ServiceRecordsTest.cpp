#include "lib/avahi/AvahiService.h"

#include <gmock/gmock.h>

#include <string>

namespace korvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/** The TXT record as it is on the network. */
std::string txtBytes(const std::map<std::string, std::string>& pairs)
{
    const AvahiService service = avahiService({.txt = pairs});
    std::string bytes(avahi_string_list_serialize(service.txt.get(), nullptr, 0), '\0');
    avahi_string_list_serialize(service.txt.get(), bytes.data(), bytes.size());
    return bytes;
}

TEST(AvahiService, CountsEveryPairAndKeepsEmptyValuesAndUTF8)
{
    EXPECT_EQ(txtBytes({{"rp", "ipp/print"}, {"note", ""}, {"ty", "Büro"}}),
              "\x05note=\x0Crp=ipp/print\x08ty=B\xC3\xBCro");
}

TEST(AvahiService, LeavesOutAPairThatOneByteCannotCount)
{
    const std::string longest(250, 'x');
    EXPECT_EQ(txtBytes({{"note", longest}, {"a", "1"}}), "\x03"
                                                         "a=1\xFFnote=" +
                                                             longest);
    EXPECT_EQ(txtBytes({{"note", longest + "x"}, {"a", "1"}}), "\x03"
                                                               "a=1");
    EXPECT_EQ(txtBytes({{"note", longest + "x"}}), std::string(1, '\0'));
}

TEST(AvahiService, CutsANameBetweenCharacters)
{
    EXPECT_EQ(avahiService({.name = std::string(62, 'n') + "\u00FC"}).name, std::string(62, 'n'));
}

} // namespace
} // namespace korvane
