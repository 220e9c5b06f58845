#include "server/JobAttributes.h"

#include "ipp/AttributeBuilders.h"
#include "ipp/PrinterAttributes.h"
#include "job/JobStatus.h"
#include "text/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <optional>

namespace korvane {

namespace {

using namespace ipp;

/** What the rows are made of. */
struct Facts {
    const JobView& view;
    JobStatus status;

    const KnownJob& job() const { return view.job; }
    std::int32_t upTime(PrinterStatus::Time time) const
    {
        return printerUpTime(view.started, time);
    }
};

IPPAttribute upTimeOf(const char* name, const Facts& facts,
                      const std::optional<JobStatus::Time>& time)
{
    return time ? integer(name, {facts.upTime(*time)}) : noValue(name);
}

IPPAttribute momentOf(const char* name, const std::optional<JobStatus::Time>& time)
{
    return time ? dateTime(name, *time) : noValue(name);
}

IPPAttribute count(const char* name, std::uint64_t number)
{
    constexpr std::uint64_t max = std::numeric_limits<std::int32_t>::max();
    return integer(name, {static_cast<std::int32_t>(std::min(number, max))});
}

IPPAttribute pages(const char* name, const Facts& facts)
{
    return facts.status.pages ? count(name, *facts.status.pages) : noValue(name);
}

std::string orElse(const std::string& text, const char* otherwise)
{
    return text.empty() ? otherwise : text;
}

/** As much of a name as may be told (RFC 8011 section 5.1.3). */
std::string shortName(const std::string& name)
{
    return std::string(text::prefixOfSequences(name, 255));
}

const char* compressionName(Compression compression)
{
    switch (compression) {
    case Compression::gzip: return "gzip";
    case Compression::deflate: return "deflate";
    case Compression::none: break;
    }
    return "none";
}

/** An attribute of a job. */
struct Row {
    const char* name;
    /** Whether hosts other than the job's may see it. */
    bool isPublic;
    IPPAttribute (*make)(const char* name, const Facts& facts);
};

constexpr Row rows[] = {
    {"job-uri", true,
     [](auto name, const Facts& facts) {
         return uri(name, {fmt::format("{}/{}", facts.view.printer.uri, facts.job().id)});
     }},
    {"job-id", true, [](auto name, const Facts& facts) { return integer(name, {facts.job().id}); }},
    {"job-state", true,
     [](auto name, const Facts& facts) {
         return enumValue(name, {static_cast<std::int32_t>(facts.status.state)});
     }},
    {"job-state-reasons", true,
     [](auto name, const Facts& facts) {
         return keyword(name, {std::string(facts.status.reason)});
     }},
    {"job-state-message", false,
     [](auto name, const Facts& facts) { return textWithoutLang(name, facts.status.message); }},
    {"job-printer-uri", true,
     [](auto name, const Facts& facts) { return uri(name, {facts.view.printer.uri}); }},
    {"job-uuid", true,
     [](auto name, const Facts& facts) { return uri(name, {"urn:uuid:" + facts.job().uuid}); }},
    {"job-name", false,
     [](auto name, const Facts& facts) {
         return nameWithoutLang(name, shortName(facts.job().progress->origin().name));
     }},
    {"job-originating-user-name", false,
     [](auto name, const Facts& facts) {
         return nameWithoutLang(name, orElse(facts.job().progress->origin().user, "anonymous"));
     }},
    {"attributes-charset", true, [](auto name, const Facts&) { return charset(name, {"utf-8"}); }},
    {"attributes-natural-language", true,
     [](auto name, const Facts&) { return naturalLanguage(name, {"en"}); }},

    // When. The printer's clock is that of date and time, too.
    {"time-at-creation", true,
     [](auto name, const Facts& facts) { return upTimeOf(name, facts, facts.status.created); }},
    {"time-at-processing", true,
     [](auto name, const Facts& facts) { return upTimeOf(name, facts, facts.status.processing); }},
    {"time-at-completed", true,
     [](auto name, const Facts& facts) { return upTimeOf(name, facts, facts.status.ended); }},
    {"job-printer-up-time", true,
     [](auto name, const Facts& facts) { return upTimeOf(name, facts, facts.view.now); }},
    {"date-time-at-creation", true,
     [](auto name, const Facts& facts) { return momentOf(name, facts.status.created); }},
    {"date-time-at-processing", true,
     [](auto name, const Facts& facts) { return momentOf(name, facts.status.processing); }},
    {"date-time-at-completed", true,
     [](auto name, const Facts& facts) { return momentOf(name, facts.status.ended); }},

    // How much. A page is a sheet.
    {"job-impressions", true, pages},
    {"job-impressions-completed", true,
     [](auto name, const Facts& facts) { return count(name, facts.status.pagesCompleted); }},
    {"job-media-sheets", true, pages},
    {"job-media-sheets-completed", true,
     [](auto name, const Facts& facts) { return count(name, facts.status.pagesCompleted); }},
    {"job-k-octets", false,
     [](auto name, const Facts& facts) { return count(name, (facts.job().bytes + 1023) / 1024); }},
    {"number-of-documents", false,
     [](auto name, const Facts& facts) {
         return count(name, static_cast<std::uint64_t>(facts.job().documents));
     }},

    // As what its document was sent.
    {"document-format-supplied", false,
     [](auto name, const Facts& facts) {
         return mimeMediaType(name,
                              {orElse(facts.job().documentFormat, "application/octet-stream")});
     }},
    {"document-name-supplied", false,
     [](auto name, const Facts& facts) {
         return nameWithoutLang(name, shortName(facts.job().documentName));
     }},
    {"compression-supplied", false,
     [](auto name, const Facts& facts) {
         return keyword(name, {compressionName(facts.job().traits.compression)});
     }},
};

} // namespace

IPPAttributeGroup makeJobAttributes(const JobView& view, const RequestedAttributes& requested)
{
    const Facts facts{view, view.job.progress->status()};
    IPPAttributeGroup group{IPPTag::jobAttributes, {}};
    for (const Row& row : rows) {
        if ((row.isPublic || view.isOwner) &&
            requested.wants(row.name, AttributeKind::jobDescription))
            group.attributes.push_back(row.make(row.name, facts));
    }
    if (!view.isOwner) return group;
    for (const IPPAttribute& setting : view.job.settings) {
        if (requested.wants(setting.name, AttributeKind::jobTemplate))
            group.attributes.push_back(setting);
    }
    return group;
}

IPPAttributeGroup makeJobGroup(const JobView& view)
{
    static const RequestedAttributes answered(
        IPPMessage{}, {"job-uri", "job-id", "job-state", "job-state-reasons", "job-state-message"});
    return makeJobAttributes(view, answered);
}

} // namespace korvane
