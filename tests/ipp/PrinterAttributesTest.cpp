#include "ipp/PrinterAttributes.h"

#include "Wire.h"
#include "ipp/IPPCodec.h"
#include "ipp/PrinterUpTime.h"

#include <gmock/gmock.h>

#include <limits>
#include <set>

namespace korvane {
namespace {

using namespace std::chrono_literals;
using namespace wire;

PrinterDescriptor descriptor()
{
    return {"Desk", "ipp://desk.local:8631/ipp/print", "1b4e28ba-2fa1-11d2-883f-0016d3cca427", ""};
}

/** The printer attributes as a client gets them. */
std::string answer()
{
    IPPMessage message;
    message.groups.push_back(ipp::makePrinterAttributes(descriptor()));
    return std::string(ipp::encode(message).text());
}

TEST(PrinterAttributes, AreFiftySixWithDistinctNames)
{
    const IPPAttributeGroup group = ipp::makePrinterAttributes(descriptor());
    std::set<std::string> names;
    for (const IPPAttribute& attribute : group.attributes) {
        names.insert(attribute.name);
        EXPECT_FALSE(attribute.values.empty()) << attribute.name;
    }
    EXPECT_EQ(group.tag, IPPTag::printerAttributes);
    EXPECT_EQ(group.attributes.size(), 56U);
    EXPECT_EQ(names.size(), 56U);
}

TEST(PrinterAttributes, StartWithWhoThePrinterIs)
{
    const std::string start =
        record(IPPTag::uri, "printer-uri-supported", "ipp://desk.local:8631/ipp/print") +
        record(IPPTag::keyword, "uri-security-supported", "none") +
        record(IPPTag::keyword, "uri-authentication-supported", "none") +
        record(IPPTag::nameWithoutLang, "printer-name", "Desk") +
        record(IPPTag::uri, "printer-uuid", "urn:uuid:1b4e28ba-2fa1-11d2-883f-0016d3cca427") +
        record(IPPTag::textWithoutLang, "printer-location", "") +
        record(IPPTag::textWithoutLang, "printer-info", "Korvane Virtual Printer") +
        record(IPPTag::textWithoutLang, "printer-make-and-model", "Korvane Virtual Printer") +
        record(IPPTag::uri, "printer-more-info", "http://desk.local:8631/");
    EXPECT_EQ(answer().substr(9, start.size()), start);
}

TEST(PrinterAttributes, ListTheOperationsPerformed)
{
    std::string operations;
    for (const int code : {2, 4, 5, 6, 8, 9, 10, 11}) {
        operations += record(IPPTag::enumValue, operations.empty() ? "operations-supported" : "",
                             bytes(0, 0, 0, code));
    }
    EXPECT_THAT(answer(), testing::HasSubstr(operations + bytes(0x44)));
}

TEST(PrinterAttributes, DescribeTheDefaultMediaAsANestedCollection)
{
    const auto number = [](int high, int low) {
        return record(IPPTag::integer, "", bytes(0, 0, high, low));
    };
    const auto member = [](const char* name) { return record(IPPTag::memberAttrName, "", name); };
    const auto keyword = [](const char* text) { return record(IPPTag::keyword, "", text); };
    const std::string endCollection = bytes(0x37, 0, 0, 0, 0);
    EXPECT_THAT(answer(),
                testing::HasSubstr(
                    record(IPPTag::begCollection, "media-col-default", "") + member("media-size") +
                    record(IPPTag::begCollection, "", "") + member("x-dimension") +
                    number(0x52, 0x08) + member("y-dimension") + number(0x74, 0x04) +
                    endCollection + member("media-type") + keyword("stationery") +
                    member("media-source") + keyword("auto") + member("media-top-margin") +
                    number(0, 0) + member("media-bottom-margin") + number(0, 0) +
                    member("media-left-margin") + number(0, 0) + member("media-right-margin") +
                    number(0, 0) + endCollection +
                    record(IPPTag::keyword, "media-col-supported", "media-size")));
}

TEST(MoreInfoURI, IsTheRootOfThePrintersHost)
{
    const struct {
        const char* uri;
        const char* expected;
    } cases[] = {
        {"ipp://desk.local:8631/ipp/print", "http://desk.local:8631/"},
        {"ipp://[::1]:631", "http://[::1]:631/"},
        {"ipps://desk.local/ipp/print", "http://localhost/"},
        {"IPP://desk.local/ipp/print", "http://localhost/"},
        {"ipp:///ipp/print", "http://localhost/"},
        {"ipp://", "http://localhost/"},
        {"", "http://localhost/"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(ipp::moreInfoURI({"", each.uri, "", ""}), each.expected) << each.uri;
    }
}

TEST(PrinterUpTime, CountsWholeSecondsFromOneOn)
{
    const std::chrono::system_clock::time_point base(1'700'000'000s);
    const struct {
        std::chrono::system_clock::duration elapsed;
        std::int32_t expected;
    } cases[] = {
        {0s, 1},
        {-1h, 1},
        {1s, 1},
        {1999ms, 1},
        {2s, 2},
        {10700ms, 10},
        {24h * 36500, std::numeric_limits<std::int32_t>::max()},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(ipp::printerUpTime(base, base + each.elapsed), each.expected);
    }
}

TEST(PrinterUpTime, CountsFromItsFirstUseInTheProcess)
{
    const auto base = ipp::uptimeBase();
    const std::int32_t upTime = ipp::printerUpTime();
    EXPECT_EQ(ipp::uptimeBase(), base);
    EXPECT_LE(upTime, ipp::printerUpTime(base, std::chrono::system_clock::now()));
}

} // namespace
} // namespace korvane
