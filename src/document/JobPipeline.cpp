#include "document/JobPipeline.h"

#include "document/FileNaming.h"
#include "document/TextSummary.h"
#include "platform/files/AtomicFile.h"

#include <utility>

namespace korvane {

namespace {

constexpr std::size_t summaryLength = 200;

} // namespace

JobPipeline::JobPipeline(Queues& queues, const Clock& clock, Log& log, Completion completion)
    : queues_(queues), clock_(clock), log_(log), completion_(std::move(completion))
{
}

void JobPipeline::process(const std::string& jobName, const Data& pdf,
                          const std::filesystem::path& saveDirectory)
{
    queues_.background().async([self = shared_from_this(), jobName, pdf, saveDirectory] {
        self->run(jobName, pdf, saveDirectory);
    });
}

void JobPipeline::run(const std::string& jobName, const Data& pdf,
                      const std::filesystem::path& saveDirectory)
{
    const std::filesystem::path destination = saveDirectory / fileName(jobName, clock_.now());
    const std::string plainText;
    if (!save(pdf, destination)) return;
    const CompletedJob job{.pdfURL = destination,
                           .plainText = plainText,
                           .summary = makeSummary(plainText, summaryLength),
                           .jobName = jobName};
    queues_.main().async([self = shared_from_this(), job] { self->completion_(job); });
}

bool JobPipeline::save(const Data& pdf, const std::filesystem::path& destination)
{
    const auto written = writeFileAtomically(destination, pdf.bytes());
    if (written) return true;
    log_.error("JobPipeline: write failed: " + written.error().description());
    const auto rewritten = writeFileAtomically(destination, pdf.bytes());
    if (rewritten) return true;
    log_.error("JobPipeline: fallback write also failed: " + rewritten.error().description());
    return false;
}

} // namespace korvane
