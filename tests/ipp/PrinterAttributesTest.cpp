#include "ipp/PrinterAttributes.h"

#include "ipp/IPPOperation.h"

#include <gmock/gmock.h>

#include <limits>
#include <set>

namespace korvane {
namespace {

using namespace std::chrono_literals;

TEST(PrinterAttributes, AreFiftySixThatStartWithWhoThePrinterIs)
{
    const IPPAttributeGroup group =
        ipp::makePrinterAttributes({"Desk", "ipp://desk:8631/ipp/print", "1b4e28ba", ""});
    const std::tuple<const char*, const char*, IPPTag> start[] = {
        {"printer-uri-supported", "ipp://desk:8631/ipp/print", IPPTag::uri},
        {"uri-security-supported", "none", IPPTag::keyword},
        {"uri-authentication-supported", "none", IPPTag::keyword},
        {"printer-name", "Desk", IPPTag::nameWithoutLang},
        {"printer-uuid", "urn:uuid:1b4e28ba", IPPTag::uri},
        {"printer-location", "", IPPTag::textWithoutLang},
        {"printer-info", "Korvane Virtual Printer", IPPTag::textWithoutLang},
        {"printer-make-and-model", "Korvane Virtual Printer", IPPTag::textWithoutLang},
        {"printer-more-info", "http://desk:8631/", IPPTag::uri}};
    for (std::size_t i = 0; i < std::size(start); ++i) {
        const auto& [name, text, tag] = start[i];
        EXPECT_EQ(group.attributes[i], ipp::makeTextAttribute(name, {text}, tag));
    }
    std::set<std::string> names;
    for (const IPPAttribute& attribute : group.attributes) {
        EXPECT_TRUE(names.insert(attribute.name).second) << attribute.name;
        EXPECT_FALSE(attribute.values.empty()) << attribute.name;
    }
    EXPECT_EQ(names.size(), 56U);
    EXPECT_THAT(group.attributes, testing::Contains(ipp::makeNumberAttribute<ipp::EnumValue>(
                                      "operations-supported", {2, 4, 5, 6, 8, 9, 10, 11})));
    for (const auto& attribute :
         {ipp::makeTextAttribute("document-format-default", {"application/pdf"},
                                 IPPTag::mimeMediaType),
          ipp::makeTextAttribute("document-format-supported", {"application/pdf", "image/urf"},
                                 IPPTag::mimeMediaType),
          ipp::makeTextAttribute("urf-supported", {"SRGB24", "W8", "RS300", "DM1", "V1.4"},
                                 IPPTag::keyword)}) {
        EXPECT_THAT(group.attributes, testing::Contains(attribute));
    }
}

TEST(IPPOperation, IsNamedForTheLog)
{
    const auto namesOf = [](PrinterProfile profile) {
        std::string known;
        for (int code = 0; code <= 0xFFFF; ++code) {
            const auto* operation = findIPPOperation(static_cast<std::uint16_t>(code), profile);
            if (operation != nullptr) known.append(operation->name).append(" ");
        }
        return known;
    };
    const std::string basic = "printJob validateJob createJob sendDocument cancelJob "
                              "getJobAttributes getJobs getPrinterAttributes ";
    EXPECT_EQ(namesOf(PrinterProfile::basic), basic);
    EXPECT_EQ(namesOf(PrinterProfile::ippEverywhere),
              basic + "cancelMyJobs closeJob identifyPrinter ");
}

TEST(MoreInfoURI, IsTheRootOfThePrintersHost)
{
    const std::pair<const char*, const char*> cases[] = {
        {"ipp://desk.local:8631/ipp/print", "http://desk.local:8631/"},
        {"ipp://[::1]:631", "http://[::1]:631/"},
        {"ipps://desk.local/ipp/print", "http://localhost/"},
        {"IPP://desk.local/ipp/print", "http://localhost/"},
        {"ipp:///ipp/print", "http://localhost/"},
        {"", "http://localhost/"}};
    for (const auto& [uri, expected] : cases)
        EXPECT_EQ(ipp::moreInfoURI({"", uri, "", ""}), expected) << uri;
}

TEST(PrinterUpTime, CountsWholeSecondsFromOneOn)
{
    const std::chrono::system_clock::time_point base(1'700'000'000s);
    const std::pair<std::chrono::system_clock::duration, std::int32_t> cases[] = {
        {0s, 1}, {-1h, 1},      {1999ms, 1},
        {2s, 2}, {10700ms, 10}, {24h * 36500, std::numeric_limits<std::int32_t>::max()}};
    for (const auto& [elapsed, expected] : cases)
        EXPECT_EQ(ipp::printerUpTime(base, base + elapsed), expected);
}

} // namespace
} // namespace korvane
