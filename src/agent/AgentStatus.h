#pragma once

#include "agent/ActiveJobs.h"
#include "agent/DocumentHistory.h"
#include "base/Log.h"
#include "event/Queue.h"
#include "status/PrinterState.h"

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>

namespace korvane {

/** What there is to tell of the agent to those who ask: the printer, its jobs and its documents.
 *  Main queue only, but for `jobs`. */
class AgentStatus : public std::enable_shared_from_this<AgentStatus> {
public:
    enum class Part { printer, jobs, documents };

    /** The history of documents is in this file. Queues and log outlive the status. */
    static std::shared_ptr<AgentStatus> make(Queues& queues, const std::filesystem::path& history,
                                             Log& log);
    AgentStatus(const AgentStatus&) = delete;
    AgentStatus& operator=(const AgentStatus&) = delete;

    /** Told of each change. */
    std::function<void(Part)> onChange;

    const PrinterState& printer() const { return printer_; }
    void setPrinter(PrinterState state);

    ActiveJobs& jobs() { return *jobs_; }

    const DocumentHistory& documents() const { return *documents_; }
    void addDocument(SavedDocument document);

private:
    AgentStatus(Queues& queues, const std::filesystem::path& history, Log& log);

    void jobsChanged();
    void tell(Part part) const;

    SerialQueue& main_;
    PrinterState printer_;
    std::shared_ptr<ActiveJobs> jobs_;
    /** A change of the jobs is on its way to the main queue. */
    std::atomic<bool> isTellingJobs_ = false;
    const std::shared_ptr<DocumentHistory> documents_;
};

} // namespace korvane
