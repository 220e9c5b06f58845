#include "agent/AgentStatus.h"

#include <utility>

namespace korvane {

AgentStatus::AgentStatus(Queues& queues, const std::filesystem::path& history, Log& log)
    : main_(queues.main()),
      documents_(std::make_shared<DocumentHistory>(history, queues.background(), log))
{
}

std::shared_ptr<AgentStatus> AgentStatus::make(Queues& queues, const std::filesystem::path& history,
                                               Log& log)
{
    std::shared_ptr<AgentStatus> status(new AgentStatus(queues, history, log));
    status->jobs_ = std::make_shared<ActiveJobs>([weak = status->weak_from_this()] {
        if (const auto self = weak.lock()) self->jobsChanged();
    });
    return status;
}

void AgentStatus::setPrinter(PrinterState state)
{
    if (state == printer_) return;
    printer_ = std::move(state);
    tell(Part::printer);
}

void AgentStatus::addDocument(SavedDocument document)
{
    documents_->add(std::move(document));
    tell(Part::documents);
}

/** On any thread. However many changes there are, one task waits on the main queue. */
void AgentStatus::jobsChanged()
{
    if (isTellingJobs_.exchange(true)) return;
    main_.async([weak = weak_from_this()] {
        const auto self = weak.lock();
        if (!self) return;
        self->isTellingJobs_ = false;
        self->tell(Part::jobs);
    });
}

void AgentStatus::tell(Part part) const
{
    if (onChange) onChange(part);
}

} // namespace korvane
