#include "ipp/EverywhereAttributes.h"

#include "ipp/AttributeBuilders.h"
#include "ipp/DocumentFormat.h"
#include "ipp/IPPOperation.h"
#include "ipp/JobTemplate.h"
#include "ipp/PrinterAttributes.h"
#include "ipp/PrinterModel.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace korvane::ipp {

namespace {

using Attributes = std::vector<IPPAttribute>;

/** printer-state values (RFC 8011 section 5.4.11). */
constexpr std::int32_t idle = 3;
constexpr std::int32_t processing = 4;

/** A body of 4 GiB, in units of 1024 bytes. */
constexpr std::int32_t maxKOctets = 4 * 1024 * 1024;

/** What a JPEG header can say. */
constexpr std::int32_t maxJPEGDimension = 65535;

/** About as many as two cores recognize; pages that hold text take no time. */
constexpr std::int32_t pagesPerMinute = 60;

std::vector<std::string> iconURIs(const PrinterDescriptor& descriptor)
{
    std::string root = moreInfoURI(descriptor);
    root.pop_back();
    std::vector<std::string> uris;
    for (const model::Icon& icon : model::icons) uris.push_back(root + icon.path);
    return uris;
}

/** The formats, and any that can be told by its first bytes. */
std::vector<std::string> formats(const PrinterDescriptor& descriptor)
{
    auto types = supportedMediaTypes(descriptor.profile);
    types.emplace_back("application/octet-stream");
    return types;
}

/** Which printer it is, and where. */
Attributes identity(const PrinterDescriptor& descriptor)
{
    return {
        uri("printer-uri-supported", {descriptor.uri}),
        keyword("uri-security-supported", {"none"}),
        keyword("uri-authentication-supported", {"requesting-user-name"}),
        nameWithoutLang("printer-name", shortText(descriptor.name)),
        textWithoutLang("printer-info", shortText(descriptor.name)),
        textWithoutLang("printer-make-and-model", model::makeAndModel),
        textWithoutLang("printer-device-id", model::deviceID),
        uri("printer-uuid", {"urn:uuid:" + descriptor.uuid}),
        textWithoutLang("printer-location", shortText(descriptor.location)),
        noValue("printer-geo-location", IPPTag::unknown),
        textWithoutLang("printer-organization", ""),
        textWithoutLang("printer-organizational-unit", ""),
        uri("printer-more-info", {moreInfoURI(descriptor)}),
        uri("printer-icons", iconURIs(descriptor)),
        keyword("printer-kind", {"document", "photo"}),
        keyword("ipp-features-supported", {"ipp-everywhere"}),
        textWithoutLang("mopria-certified", model::mopriaVersion),
    };
}

/** How it stands. */
Attributes standing(const PrinterDescriptor& descriptor, const PrinterStatus& status)
{
    const auto upTime = [&](PrinterStatus::Time time) {
        return std::vector{printerUpTime(status.started, time)};
    };
    return {
        enumValue("printer-state", {status.isProcessing ? processing : idle}),
        keyword("printer-state-reasons", {"none"}),
        textWithoutLang("printer-state-message", stateMessage(status)),
        integer("printer-state-change-time", upTime(status.stateChanged)),
        dateTime("printer-state-change-date-time", status.stateChanged),
        boolean("printer-is-accepting-jobs", true),
        integer("queued-job-count", {status.queuedJobs}),
        integer("printer-up-time", upTime(status.now)),
        dateTime("printer-current-time", status.now),
        integer("printer-config-change-time", upTime(status.configurationChanged)),
        dateTime("printer-config-change-date-time", status.configurationChanged),
        // What it uses up is room on the disk (PWG 5100.13 section 5.6.29: some is left, of an
        // unknown capacity).
        octetString("printer-supply", "type=other;maxcapacity=-2;level=-3;"
                                      "class=supplyThatIsConsumed;unit=other;"),
        textWithoutLang("printer-supply-description", "Room on this computer's disk"),
        uri("printer-supply-info-uri", {moreInfoURI(descriptor)}),
    };
}

/** How clients talk to it. */
Attributes protocol()
{
    return {
        keyword("ipp-versions-supported", {"1.1", "2.0"}),
        enumValue("operations-supported", supportedOperations(PrinterProfile::ippEverywhere)),
        charset("charset-configured", {"utf-8"}),
        charset("charset-supported", {"utf-8"}),
        naturalLanguage("natural-language-configured", {"en"}),
        naturalLanguage("generated-natural-language-supported", {"en"}),
        keyword("printer-get-attributes-supported", {"document-format"}),
        keyword("identify-actions-supported", {"display"}),
        keyword("identify-actions-default", {"display"}),
        keyword("which-jobs-supported", {"completed", "not-completed", "all"}),
        boolean("job-ids-supported", true),
        boolean("multiple-document-jobs-supported", false),
        integer("multiple-operation-time-out", {900}),
        keyword("multiple-operation-time-out-action", {"abort-job"}),
        boolean("preferred-attributes-supported", false),
        // Others than the host that sent a job see neither its name nor whose it is.
        keyword("job-privacy-attributes",
                {"compression-supplied", "document-format-supplied", "document-name-supplied",
                 "job-k-octets", "job-name", "job-originating-user-name", "job-state-message",
                 "job-template", "number-of-documents"}),
        keyword("job-privacy-scope", {"owner"}),
        keyword("job-creation-attributes-supported", {"compression",
                                                      "copies",
                                                      "document-format",
                                                      "document-name",
                                                      "finishings",
                                                      "ipp-attribute-fidelity",
                                                      "job-name",
                                                      "media",
                                                      "media-col",
                                                      "number-up",
                                                      "orientation-requested",
                                                      "output-bin",
                                                      "overrides",
                                                      "page-ranges",
                                                      "print-color-mode",
                                                      "print-content-optimize",
                                                      "print-quality",
                                                      "print-rendering-intent",
                                                      "print-scaling",
                                                      "printer-resolution",
                                                      "sides"}),
    };
}

/** Which documents it takes. */
Attributes documents(const PrinterDescriptor& descriptor)
{
    const auto types = formats(descriptor);
    return {
        mimeMediaType("document-format-default", {types.front()}),
        mimeMediaType("document-format-preferred", {types.front()}),
        mimeMediaType("document-format-supported", types),
        keyword("pdl-override-supported", {"attempted"}),
        keyword("compression-supported", {"none", "deflate", "gzip"}),
        rangeOfInteger("job-k-octets-supported", 0, maxKOctets),
        rangeOfInteger("pdf-k-octets-supported", 0, maxKOctets),
        keyword("pdf-versions-supported", {"adobe-1.2", "adobe-1.3", "adobe-1.4", "adobe-1.5",
                                           "adobe-1.6", "iso-19005-1_2005", "iso-32000-1_2008"}),
        rangeOfInteger("jpeg-k-octets-supported", 0, maxKOctets),
        rangeOfInteger("jpeg-x-dimension-supported", 0, maxJPEGDimension),
        rangeOfInteger("jpeg-y-dimension-supported", 1, maxJPEGDimension),
        keyword("jpeg-features-supported", {"cmyk", "icc", "progressive"}),
        keyword("pwg-raster-document-type-supported", {"black_1", "sgray_8", "srgb_8"}),
        dotsPerInch("pwg-raster-document-resolution-supported", 300),
        keyword("pwg-raster-document-sheet-back", {"normal"}),
        keyword("urf-supported",
                {everywhereURFCapabilities.begin(), everywhereURFCapabilities.end()}),
        boolean("color-supported", true),
        integer("pages-per-minute", {pagesPerMinute}),
        integer("pages-per-minute-color", {pagesPerMinute}),
    };
}

} // namespace

IPPAttributeGroup makeEverywhereAttributes(const PrinterDescriptor& descriptor,
                                           const PrinterStatus& status,
                                           const RequestedAttributes& requested)
{
    IPPAttributeGroup group{IPPTag::printerAttributes, {}};
    const auto add = [&](AttributeKind kind, Attributes attributes) {
        std::ranges::copy_if(
            std::make_move_iterator(attributes.begin()), std::make_move_iterator(attributes.end()),
            std::back_inserter(group.attributes),
            [&](const IPPAttribute& attribute) { return requested.wants(attribute.name, kind); });
    };
    add(AttributeKind::printerDescription, identity(descriptor));
    add(AttributeKind::printerDescription, standing(descriptor, status));
    add(AttributeKind::printerDescription, protocol());
    add(AttributeKind::printerDescription, documents(descriptor));
    add(AttributeKind::jobTemplate, jobTemplateAttributes());
    add(AttributeKind::onlyByName, {mediaDatabase()});
    return group;
}

std::string stateMessage(const PrinterStatus& status)
{
    if (!status.isProcessing) return "Ready to print.";
    return status.queuedJobs > 1 ? fmt::format("Working on {} documents.", status.queuedJobs)
                                 : "Working on a document.";
}

} // namespace korvane::ipp
