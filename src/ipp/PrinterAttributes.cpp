#include "ipp/PrinterAttributes.h"

#include "ipp/AttributeBuilders.h"
#include "ipp/DocumentFormat.h"
#include "ipp/IPPOperation.h"
#include "ipp/MediaAttributes.h"
#include "ipp/PrinterModel.h"
#include "text/Text.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <string_view>
#include <utility>

namespace korvane::ipp {

namespace {

/** The printer-up-time of this process, from when it was first asked for. */
std::int32_t processUpTime()
{
    static const auto base = std::chrono::system_clock::now();
    return printerUpTime(base, std::chrono::system_clock::now());
}

} // namespace

IPPAttributeGroup makePrinterAttributes(const PrinterDescriptor& descriptor)
{
    IPPAttribute table[] = {
        // Which printer it is, and where.
        uri("printer-uri-supported", {descriptor.uri}),
        keyword("uri-security-supported", {"none"}),
        keyword("uri-authentication-supported", {"none"}),
        nameWithoutLang("printer-name", descriptor.name),
        uri("printer-uuid", {"urn:uuid:" + descriptor.uuid}),
        textWithoutLang("printer-location", descriptor.location),
        textWithoutLang("printer-info", model::makeAndModel),
        textWithoutLang("printer-make-and-model", model::makeAndModel),
        uri("printer-more-info", {moreInfoURI(descriptor)}),

        // How it is doing: 3 is idle (RFC 8011 section 5.4.11).
        enumValue("printer-state", {3}),
        keyword("printer-state-reasons", {"none"}),
        boolean("printer-is-accepting-jobs", true),
        integer("queued-job-count", {0}),
        integer("printer-up-time", {processUpTime()}),

        // Protocol versions, operations, charsets. Charsets and languages travel as keywords;
        // clients go by the name.
        keyword("ipp-versions-supported", {"1.1", "2.0"}),
        enumValue("operations-supported", supportedOperations(PrinterProfile::basic)),
        keyword("charset-configured", {"utf-8"}),
        keyword("charset-supported", {"utf-8"}),
        keyword("natural-language-configured", {"en"}),
        keyword("generated-natural-language-supported", {"en"}),

        // Which documents it takes.
        mimeMediaType("document-format-default", {std::string(documentFormats[0].mediaType)}),
        mimeMediaType("document-format-supported", supportedMediaTypes(PrinterProfile::basic)),
        keyword("urf-supported", {urfCapabilities.begin(), urfCapabilities.end()}),
        keyword("pdl-override-supported", {"attempted"}),
        keyword("compression-supported", {"none"}),

        // What it prints on (PWG 5101.1 names).
        keyword("media-default", {"iso_a4_210x297mm"}),
        keyword("media-supported", {"iso_a4_210x297mm", "na_letter_8.5x11in", "na_legal_8.5x14in"}),
        keyword("media-type-supported", {"stationery"}),
        keyword("media-source-supported", {"auto"}),

        // How it prints. Qualities are draft, normal, high (RFC 8011 section 5.2.13); the only
        // finishing, 3, is none (section 5.2.6).
        dotsPerInch("printer-resolution-default", 300),
        dotsPerInch("printer-resolution-supported", 300),
        boolean("color-supported", true),
        keyword("print-color-mode-default", {"auto"}),
        keyword("print-color-mode-supported", {"auto", "color", "monochrome"}),
        enumValue("print-quality-default", {4}),
        enumValue("print-quality-supported", {3, 4, 5}),
        keyword("sides-default", {"one-sided"}),
        keyword("sides-supported", {"one-sided"}),
        enumValue("finishings-default", {3}),
        enumValue("finishings-supported", {3}),
        integer("copies-default", {1}),
        rangeOfInteger("copies-supported", 1, 999),
        integer("number-up-default", {1}),
        integer("number-up-supported", {1, 2, 4}),
        rangeOfInteger("job-priority-supported", 1, 100),
        keyword("output-bin-default", {"face-down"}),
        keyword("output-bin-supported", {"face-down"}),
        IPPAttribute{"media-col-default", {defaultMediaCollection()}},
        keyword("media-col-supported", mediaCollectionMembers()),

        // What driverless clients look for besides (PWG 5100.13, 5102.4).
        keyword("pwg-raster-document-type-supported", {"sgray_8", "srgb_8"}),
        dotsPerInch("pwg-raster-document-resolution-supported", 300),
        keyword("pwg-raster-document-sheet-back", {"normal"}),
        keyword("identify-actions-supported", {"display"}),
        keyword("identify-actions-default", {"display"}),
        keyword("which-jobs-supported", {"completed", "not-completed"}),
        keyword("job-creation-attributes-supported",
                {"copies", "finishings", "job-name", "media", "print-color-mode", "print-quality",
                 "printer-resolution", "sides"}),
    };
    return {IPPTag::printerAttributes,
            {std::make_move_iterator(std::begin(table)), std::make_move_iterator(std::end(table))}};
}

std::string moreInfoURI(const PrinterDescriptor& descriptor)
{
    constexpr std::string_view scheme = "ipp://";
    std::string_view authority = descriptor.uri;
    if (!authority.starts_with(scheme)) return "http://localhost/";
    authority.remove_prefix(scheme.size());
    authority = authority.substr(0, authority.find('/'));
    if (authority.empty()) return "http://localhost/";
    return "http://" + std::string(authority) + "/";
}

std::string shortText(std::string_view text)
{
    constexpr std::size_t maxLength = 127;
    return std::string(text::prefixOfSequences(text, maxLength));
}

std::int32_t printerUpTime(std::chrono::system_clock::time_point base,
                           std::chrono::system_clock::time_point now)
{
    constexpr double maxUpTime = std::numeric_limits<std::int32_t>::max();
    const std::chrono::duration<double> elapsed = now - base;
    return static_cast<std::int32_t>(std::clamp(elapsed.count(), 1.0, maxUpTime));
}

} // namespace korvane::ipp
