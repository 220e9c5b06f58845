#include "server/PrinterStanding.h"

#include <algorithm>

namespace korvane {

PrinterStanding::PrinterStanding(JobTable& jobs, const Clock& clock) : jobs_(jobs), clock_(clock)
{
    status_.started = clock.now();
    status_.stateChanged = status_.started;
    status_.configurationChanged = status_.started;
}

PrinterStatus PrinterStanding::status(const PrinterDescriptor& printer)
{
    const bool wasProcessing = status_.isProcessing;
    status_.now = clock_.now();
    status_.isProcessing = false;
    status_.queuedJobs = 0;
    PrinterStatus::Time lastEnd = status_.stateChanged;
    for (const auto& job : jobs_.all()) {
        const JobStatus status = job->progress->status();
        if (status.ended) lastEnd = std::max(lastEnd, *status.ended);
        if (isEnded(status.state)) continue;
        ++status_.queuedJobs;
        if (status.state == JobState::processing || job->isReceiving) status_.isProcessing = true;
    }
    if (!status_.isProcessing) {
        status_.stateChanged = lastEnd;
    } else if (!wasProcessing) {
        status_.stateChanged = status_.now;
    }
    if (printer_ && *printer_ != printer) status_.configurationChanged = status_.now;
    printer_ = printer;
    return status_;
}

} // namespace korvane
