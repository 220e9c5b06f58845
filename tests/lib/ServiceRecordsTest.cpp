#include "lib/avahi/ServiceRecords.h"

#include "lib/avahi/AvahiService.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace korvane {
namespace {

using testing::ElementsAre;

/** The TXT record as it is on the network. */
std::string txtBytes(const std::map<std::string, std::string>& pairs)
{
    const AvahiService service = avahiService({.txt = pairs});
    std::string bytes(avahi_string_list_serialize(service.txt.get(), nullptr, 0), '\0');
    avahi_string_list_serialize(service.txt.get(), bytes.data(), bytes.size());
    return bytes;
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

TEST(ServiceRecords, ContendForTheNameByOneRecord)
{
    const auto records = serviceRecords(
        avahiService({.name = "Dr. Ito", .type = "_ipp._tcp,_universal,_print"}), "desk.local");
    ASSERT_TRUE(records);
    std::vector<std::string> published;
    for (const auto& [record, flags] : *records) {
        const bool isProbed = flags == AVAHI_PUBLISH_UNIQUE;
        const bool isPointer = record->key->type == AVAHI_DNS_TYPE_PTR;
        published.push_back(std::string(record->key->name) +
                            (isProbed    ? " probed"
                             : isPointer ? std::string(" -> ") + record->data.ptr.name
                                         : ""));
    }
    const std::string name = "Dr\\.\\032Ito._ipp._tcp.local";
    EXPECT_THAT(published, ElementsAre(name + " probed", name, "_ipp._tcp.local -> " + name,
                                       "_services._dns-sd._udp.local -> _ipp._tcp.local",
                                       "_universal._sub._ipp._tcp.local -> " + name,
                                       "_print._sub._ipp._tcp.local -> " + name));
    EXPECT_EQ(serviceRecords(avahiService({.name = "x", .type = "ipp"}), "desk.local").error(),
              ServiceDirectory::invalidName);
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
