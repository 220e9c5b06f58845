#include "lib/avahi/AvahiService.h"

#include <gmock/gmock.h>

#include <string>

namespace korvane {
namespace {


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

TEST(AvahiService, ShowsAsMuchOfANameAsFits)
{
    using namespace std::string_literals;
    std::string family = "\U0001F468";
    while (family.size() <= 63) family += "\u200D\U0001F468";
    const std::pair<std::string, std::string> names[] = {
        {std::string(62, 'n') + "\u00FC", std::string(62, 'n')},
        {family, family.substr(0, 63)},
        {"\0Off\x1Bi\u0085ce\n"s, "Office"},
        {"B\xFC"s, "B"},
        {"\a\0"s, ""},
    };
    for (const auto& [name, shown] : names) EXPECT_EQ(avahiService({.name = name}).name, shown);
}

} // namespace
} // namespace korvane
