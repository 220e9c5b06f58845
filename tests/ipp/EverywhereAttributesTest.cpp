#include "ipp/EverywhereAttributes.h"

#include "ipp/IPPCodec.h"
#include "ipp/MediaSizes.h"

#include <gmock/gmock.h>

#include <cmath>
#include <map>
#include <set>
#include <sstream>

namespace korvane {
namespace {

using namespace std::chrono_literals;

const PrinterStatus::Time started = std::chrono::sys_days(std::chrono::March / 1 / 2025);

IPPAttributeGroup requested(const std::vector<std::string>& names, const PrinterStatus& status = {})
{
    const IPPMessage request{
        .groups = {{IPPTag::operationAttributes,
                    {ipp::makeTextAttribute("requested-attributes", names, IPPTag::keyword)}}}};
    return ipp::makeEverywhereAttributes({.name = "Desk",
                                          .uri = "ipp://desk:8631/ipp/print",
                                          .uuid = "1b4e28ba",
                                          .location = "Hall",
                                          .profile = PrinterProfile::ippEverywhere},
                                         status, RequestedAttributes(request));
}

IPPAttributeGroup everything(const PrinterStatus& status = {})
{
    return requested({"all", "media-col-database"}, status);
}

const IPPAttribute* find(const IPPAttributeGroup& group, std::string_view name)
{
    const auto found = std::ranges::find(group.attributes, name, &IPPAttribute::name);
    return found == group.attributes.end() ? nullptr : &*found;
}

/** Behind the header of 8 bytes and the group's tag. */
IPPTag tagOnTheWire(const IPPAttribute& attribute)
{
    const IPPMessage message{.groups = {{IPPTag::printerAttributes, {attribute}}}};
    return static_cast<IPPTag>(ipp::encode(message).bytes()[9]);
}

/** The syntax of each attribute as RFC 8011 sections 5.2 and 5.4, PWG 5100.2, 5100.3, 5100.6,
 *  5100.7, 5100.11, 5100.13 and 5102.4 define it: typed look-ups miss what has another tag. */
TEST(EverywhereAttributes, HaveTheSyntaxesOfTheirDefinitions)
{
    const std::pair<IPPTag, const char*> definitions[] = {
        {IPPTag::charset, "charset-configured charset-supported"},
        {IPPTag::naturalLanguage,
         "generated-natural-language-supported natural-language-configured"},
        {IPPTag::uri, "printer-icons printer-more-info printer-supply-info-uri "
                      "printer-uri-supported printer-uuid"},
        {IPPTag::nameWithoutLang, "printer-name"},
        {IPPTag::textWithoutLang,
         "mopria-certified printer-device-id printer-info printer-location printer-make-and-model "
         "printer-organization printer-organizational-unit printer-state-message "
         "printer-supply-description"},
        {IPPTag::mimeMediaType,
         "document-format-default document-format-preferred document-format-supported"},
        {IPPTag::boolean, "color-supported job-ids-supported multiple-document-jobs-supported "
                          "page-ranges-supported preferred-attributes-supported "
                          "printer-is-accepting-jobs"},
        {IPPTag::integer,
         "copies-default media-bottom-margin-supported media-left-margin-supported "
         "media-right-margin-supported media-top-margin-supported multiple-operation-time-out "
         "number-up-default number-up-supported pages-per-minute pages-per-minute-color "
         "printer-config-change-time printer-state-change-time printer-up-time queued-job-count"},
        {IPPTag::rangeOfInteger,
         "copies-supported jpeg-k-octets-supported jpeg-x-dimension-supported "
         "jpeg-y-dimension-supported job-k-octets-supported pdf-k-octets-supported"},
        {IPPTag::enumValue,
         "finishings-default finishings-supported operations-supported "
         "orientation-requested-supported print-quality-default print-quality-supported "
         "printer-state"},
        {IPPTag::resolution, "printer-resolution-default printer-resolution-supported "
                             "pwg-raster-document-resolution-supported"},
        {IPPTag::dateTime, "printer-config-change-date-time printer-current-time "
                           "printer-state-change-date-time"},
        {IPPTag::octetString, "printer-supply"},
        {IPPTag::begCollection, "media-col-database media-col-default media-col-ready "
                                "media-size-supported"},
        {IPPTag::unknown, "printer-geo-location"},
        {IPPTag::noValue, "orientation-requested-default"},
        {IPPTag::keyword,
         "compression-supported identify-actions-default identify-actions-supported "
         "ipp-features-supported ipp-versions-supported job-creation-attributes-supported "
         "job-privacy-attributes job-privacy-scope jpeg-features-supported media-col-supported "
         "media-default media-ready media-source-supported media-supported media-type-supported "
         "multiple-operation-time-out-action output-bin-default output-bin-supported "
         "overrides-supported pdf-versions-supported pdl-override-supported "
         "print-color-mode-default print-color-mode-supported print-content-optimize-default "
         "print-content-optimize-supported print-rendering-intent-default "
         "print-rendering-intent-supported print-scaling-default print-scaling-supported "
         "printer-get-attributes-supported printer-kind printer-state-reasons "
         "pwg-raster-document-sheet-back pwg-raster-document-type-supported sides-default "
         "sides-supported urf-supported uri-authentication-supported uri-security-supported "
         "which-jobs-supported"}};
    std::map<std::string, IPPTag> expected;
    for (const auto& [tag, names] : definitions) {
        std::istringstream words(names);
        for (std::string name; words >> name;) expected[name] = tag;
    }
    const auto group = everything();
    std::map<std::string, IPPTag> actual;
    for (const IPPAttribute& attribute : group.attributes) {
        ASSERT_FALSE(attribute.values.empty()) << attribute.name;
        EXPECT_TRUE(actual.emplace(attribute.name, tagOnTheWire(attribute)).second)
            << attribute.name;
    }
    EXPECT_EQ(actual, expected);
    for (const auto& [one, other] : {std::pair{"printer-uri-supported", "uri-security-supported"},
                                     {"uri-security-supported", "uri-authentication-supported"},
                                     {"printer-supply", "printer-supply-description"},
                                     {"media-ready", "media-col-ready"}}) {
        EXPECT_EQ(find(group, one)->values.size(), find(group, other)->values.size()) << one;
    }
}

TEST(EverywhereAttributes, SupportTheDefaultsThatTheyGive)
{
    const auto group = everything();
    for (const IPPAttribute& attribute : group.attributes) {
        const std::string_view name = attribute.name;
        if (!name.ends_with("-default") || attribute.values[0] == IPPValue(ipp::NoValue{}))
            continue;
        if (name == "copies-default" || name == "media-col-default") continue;
        const auto* supported =
            find(group, std::string(name.substr(0, name.size() - 7)) + "supported");
        ASSERT_NE(supported, nullptr) << name;
        EXPECT_THAT(supported->values, testing::Contains(attribute.values[0])) << name;
    }
    EXPECT_THAT(find(group, "media-col-ready")->values,
                testing::Contains(find(group, "media-col-default")->values[0]));
}

/** A name ends with the size in millimeters or inches (PWG 5101.1 section 5). */
TEST(MediaSizes, AreWhatTheirNamesSay)
{
    std::vector<MediaSize> sizes(mediaSizes.begin(), mediaSizes.end());
    sizes.insert(sizes.end(), {minCustomSize, maxCustomSize});
    for (const MediaSize& media : sizes) {
        const std::string_view name = media.name;
        std::istringstream text(std::string(name.substr(name.rfind('_') + 1)));
        double width = 0;
        double height = 0;
        char by = 0;
        std::string unit;
        text >> width >> by >> height >> unit;
        const double scale = unit == "in" ? 2540 : 100;
        EXPECT_EQ(media.size.width, std::lround(width * scale)) << name;
        EXPECT_EQ(media.size.height, std::lround(height * scale)) << name;
    }
}

TEST(EverywhereAttributes, AreThoseThatAreAskedForByTheirNameOrGroup)
{
    const std::tuple<const char*, std::set<std::string>, std::set<std::string>> cases[] = {
        {"printer-description", {"printer-name", "urf-supported"}, {"sides-supported"}},
        {"job-template", {"sides-supported", "media-ready"}, {"printer-name"}},
        {"all", {"sides-supported", "printer-name"}, {"media-col-database"}},
        {"media-col-database", {"media-col-database"}, {"media-col-ready", "printer-name"}}};
    for (const auto& [asked, given, withheld] : cases) {
        const auto group = requested({asked});
        for (const auto& name : given) EXPECT_TRUE(find(group, name)) << asked << " " << name;
        for (const auto& name : withheld) EXPECT_FALSE(find(group, name)) << asked << " " << name;
    }
}

TEST(EverywhereAttributes, TellHowThePrinterStands)
{
    const PrinterStatus idle{.now = started + 90s, .started = started, .stateChanged = started};
    PrinterStatus busy = idle;
    busy.isProcessing = true;
    busy.queuedJobs = 1;
    busy.stateChanged = started + 60s;
    const std::tuple<PrinterStatus, int, int, int, const char*> cases[] = {
        {idle, 3, 0, 1, "Ready to print."}, {busy, 4, 1, 60, "Working on a document."}};
    for (const auto& [status, state, jobs, changed, message] : cases) {
        const auto group = everything(status);
        EXPECT_EQ(find(group, "printer-state")->values[0], IPPValue(ipp::EnumValue{state}));
        EXPECT_EQ(find(group, "queued-job-count")->values[0], IPPValue(ipp::Integer{jobs}));
        EXPECT_EQ(find(group, "printer-up-time")->values[0], IPPValue(ipp::Integer{90}));
        EXPECT_EQ(find(group, "printer-state-change-time")->values[0],
                  IPPValue(ipp::Integer{changed}));
        EXPECT_EQ(find(group, "printer-state-change-date-time")->values[0],
                  IPPValue(ipp::DateTime{status.stateChanged}));
        EXPECT_EQ(std::get<ipp::Text>(find(group, "printer-state-message")->values[0]).text,
                  message);
    }
}

} // namespace
} // namespace korvane
