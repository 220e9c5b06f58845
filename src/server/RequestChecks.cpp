#include "server/RequestChecks.h"

#include "ipp/DocumentFormat.h"
#include "server/IPPRequest.h"
#include "text/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <set>
#include <string>
#include <variant>

namespace korvane::checks {

namespace {

IPPOutcome badRequest(std::string message)
{
    return {.status = IPPStatus::clientErrorBadRequest, .message = std::move(message)};
}

/** The tag that a value has on the wire. */
IPPTag tagOf(const IPPValue& value)
{
    struct Tags {
        IPPTag operator()(const ipp::Integer&) const { return IPPTag::integer; }
        IPPTag operator()(const ipp::Boolean&) const { return IPPTag::boolean; }
        IPPTag operator()(const ipp::EnumValue&) const { return IPPTag::enumValue; }
        IPPTag operator()(const ipp::RangeOfInteger&) const { return IPPTag::rangeOfInteger; }
        IPPTag operator()(const ipp::Resolution&) const { return IPPTag::resolution; }
        IPPTag operator()(const ipp::Text& text) const { return text.tag; }
        IPPTag operator()(const ipp::DateTime&) const { return IPPTag::dateTime; }
        IPPTag operator()(const ipp::Collection&) const { return IPPTag::begCollection; }
        IPPTag operator()(const ipp::NoValue&) const { return IPPTag::noValue; }
    };
    return std::visit(Tags(), value);
}

bool isPositive(const IPPValue& value)
{
    return std::get<ipp::Integer>(value).value > 0;
}

bool isTakenCompression(const IPPValue& value)
{
    const std::string& compression = std::get<ipp::Text>(value).text;
    return compression == "none" || compression == "gzip" || compression == "deflate";
}

/** Any format that is taken, or one that the printer is to find out by itself. */
bool isTakenFormat(const IPPValue& value)
{
    const std::string format = text::lowercased(std::get<ipp::Text>(value).text);
    return format == "application/octet-stream" ||
           std::ranges::find(documentFormats, format, &DocumentFormat::mediaType) !=
               documentFormats.end();
}

bool isJobSelection(const IPPValue& value)
{
    const std::string& selection = std::get<ipp::Text>(value).text;
    return selection == "completed" || selection == "not-completed" || selection == "all";
}

/** An operation attribute and what it may be. */
struct Syntax {
    std::string_view name;
    IPPTag tag;
    bool isSet = false;
    /** The status of values that are not supported, and which those are. */
    IPPStatus refusal = IPPStatus::successfulOk;
    bool (*isSupported)(const IPPValue&) = nullptr;
};

constexpr Syntax operationAttributes[] = {
    {"attributes-charset", IPPTag::charset},
    {"attributes-natural-language", IPPTag::naturalLanguage},
    {"printer-uri", IPPTag::uri},
    {"job-uri", IPPTag::uri},
    {"job-id", IPPTag::integer},
    {"job-ids", IPPTag::integer, true},
    {"requesting-user-name", IPPTag::nameWithoutLang},
    {"job-name", IPPTag::nameWithoutLang},
    {"document-name", IPPTag::nameWithoutLang},
    {"message", IPPTag::textWithoutLang},
    {"ipp-attribute-fidelity", IPPTag::boolean},
    {"last-document", IPPTag::boolean},
    {"my-jobs", IPPTag::boolean},
    {"limit", IPPTag::integer, false, IPPStatus::clientErrorBadRequest, isPositive},
    {"which-jobs", IPPTag::keyword, false, IPPStatus::clientErrorAttributesOrValuesNotSupported,
     isJobSelection},
    {"requested-attributes", IPPTag::keyword, true},
    {"identify-actions", IPPTag::keyword, true},
    {"compression", IPPTag::keyword, false, IPPStatus::clientErrorCompressionNotSupported,
     isTakenCompression},
    {"document-format", IPPTag::mimeMediaType, false,
     IPPStatus::clientErrorDocumentFormatNotSupported, isTakenFormat},
};

bool hasSyntax(const IPPAttribute& attribute, const Syntax& syntax)
{
    return (attribute.values.size() == 1 || syntax.isSet) &&
           std::ranges::all_of(attribute.values,
                               [&](const IPPValue& value) { return tagOf(value) == syntax.tag; });
}

bool hasNamesTwice(const IPPAttributeGroup& group)
{
    std::set<std::string_view> names;
    return !std::ranges::all_of(group.attributes, [&](const IPPAttribute& attribute) {
        return names.insert(attribute.name).second;
    });
}

/** The path of a URI with an authority; empty when it is no such URI. */
std::string_view pathOf(std::string_view uri)
{
    const std::size_t authority = uri.find("://");
    if (authority == std::string_view::npos) return {};
    uri.remove_prefix(authority + 3);
    const std::size_t path = uri.find('/');
    return path == std::string_view::npos ? "/" : uri.substr(path);
}

/** The number behind the printer's path in that of a job; 0 if it is none. */
std::int32_t jobIDOf(std::string_view jobPath, std::string_view printerPath)
{
    if (!jobPath.starts_with(printerPath)) return 0;
    jobPath.remove_prefix(printerPath.size());
    if (!jobPath.starts_with('/')) return 0;
    std::int32_t id = 0;
    const char* const end = jobPath.data() + jobPath.size();
    const auto read = std::from_chars(jobPath.data() + 1, end, id);
    return read.ec == std::errc() && read.ptr == end && id > 0 ? id : 0;
}

} // namespace

std::optional<IPPOutcome> header(const IPPMessage& request)
{
    if (request.versionMajor != 1 && request.versionMajor != 2) {
        return IPPOutcome{.status = IPPStatus::serverErrorVersionNotSupported};
    }
    constexpr std::uint32_t maxRequestID = 0x7FFFFFFF;
    if (request.requestID == 0 || request.requestID > maxRequestID)
        return badRequest("The request-id is not between 1 and 2147483647.");
    return {};
}

std::optional<IPPOutcome> groups(const IPPMessage& request)
{
    std::set<IPPTag> tags;
    for (const IPPAttributeGroup& group : request.groups) {
        if (!tags.insert(group.tag).second) return badRequest("A group comes twice.");
        if (hasNamesTwice(group)) return badRequest("An attribute comes twice.");
    }
    if (request.groups.empty() || request.groups.front().tag != IPPTag::operationAttributes)
        return badRequest("The operation attributes do not come first.");
    const auto& first = request.groups.front().attributes;
    if (first.size() < 2 || first[0].name != "attributes-charset" ||
        first[1].name != "attributes-natural-language")
        return badRequest("The charset and the language do not come first.");
    const std::string charset = text::lowercased(operationText(request, "attributes-charset"));
    if (charset != "utf-8" && charset != "us-ascii")
        return IPPOutcome{.status = IPPStatus::clientErrorCharsetNotSupported};
    return {};
}

std::optional<IPPOutcome> values(const IPPMessage& request)
{
    for (const Syntax& syntax : operationAttributes) {
        const auto* attribute =
            ipp::findAttribute(request, syntax.name, IPPTag::operationAttributes);
        if (attribute == nullptr) continue;
        if (!hasSyntax(*attribute, syntax))
            return badRequest(fmt::format("The syntax of {} is wrong.", syntax.name));
        if (syntax.isSupported && !std::ranges::all_of(attribute->values, syntax.isSupported))
            return unsupported(syntax.refusal, request, syntax.name);
    }
    return {};
}

std::optional<IPPOutcome> target(const IPPMessage& request, const PrinterDescriptor& printer,
                                 std::int32_t* jobID)
{
    const std::string_view ours = pathOf(printer.uri);
    const std::string printerURI = operationText(request, "printer-uri");
    const std::string jobURI = operationText(request, "job-uri");
    const IPPOutcome notFound{.status = IPPStatus::clientErrorNotFound};
    if (jobID != nullptr && !jobURI.empty()) {
        *jobID = jobIDOf(pathOf(jobURI), ours);
        return *jobID > 0 ? std::nullopt : std::optional(notFound);
    }
    if (printerURI.empty()) return badRequest("The printer-uri is missing.");
    if (jobID != nullptr) {
        const auto id = operationValue<ipp::Integer>(request, "job-id");
        if (!id) return badRequest("The job-id is missing.");
        *jobID = id->value;
    }
    return pathOf(printerURI) == ours ? std::nullopt : std::optional(notFound);
}

IPPOutcome unsupported(IPPStatus status, const IPPMessage& request, std::string_view attribute)
{
    IPPOutcome outcome{.status = status};
    const auto* found = ipp::findAttribute(request, attribute, IPPTag::operationAttributes);
    if (found != nullptr)
        outcome.groups.push_back({.tag = IPPTag::unsupportedAttrs, .attributes = {*found}});
    return outcome;
}

} // namespace korvane::checks
