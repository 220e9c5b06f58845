#pragma once

#include "base/Clock.h"
#include "ipp/PrinterDescriptor.h"
#include "ipp/PrinterStatus.h"
#include "server/JobTable.h"

#include <optional>

namespace korvane {

/** Tells from its jobs how the printer stands, and remembers since when. Used on the server's queue
 *  only. */
class PrinterStanding {
public:
    /** Both outlive it. The time of the printer counts from now. */
    PrinterStanding(JobTable& jobs, const Clock& clock);

    /** The moment that its time counts from. */
    PrinterStatus::Time started() const { return status_.started; }

    /** How it stands, being the printer described. Looks at all jobs. */
    PrinterStatus status(const PrinterDescriptor& printer);

private:
    JobTable& jobs_;
    const Clock& clock_;
    /** What was told last. */
    PrinterStatus status_;
    std::optional<PrinterDescriptor> printer_;
};

} // namespace korvane
