#include "agent/NoteQueue.h"

#include <exception>
#include <utility>

namespace korvane {

namespace {

/** Notes that wait while a slow application makes one. */
constexpr std::size_t maxNotes = 64;

/** Running out of memory fails this note only, not those that wait behind it. */
Result<std::string, std::string> makeNote(const AddNote& addNote, const CompletedJob& job,
                                          const std::string& folder)
{
    try {
        return addNote(job.jobName, job.plainText, folder, job.pdfURL);
    } catch (const std::exception& error) {
        return failure(std::string(error.what()));
    }
}

} // namespace

NoteQueue::NoteQueue(Queues& queues, Log& log, const DesktopEnvironment& desktop)
    : queues_(queues), log_(log), alert_(desktop.alert), notifications_(desktop.notifications),
      addNote_(desktop.addNote)
{
}

void NoteQueue::add(const CompletedJob& job, const std::string& folder)
{
    if (notes_.size() >= maxNotes)
        return added(job, failure(std::string("Too many notes are waiting")));
    notes_.push_back({.job = job, .folder = folder});
    if (notes_.size() == 1) addNext();
}

void NoteQueue::addNext()
{
    queues_.utility().async([weak = weak_from_this(), note = notes_.front(), addNote = addNote_,
                             &main = queues_.main()] {
        const auto outcome = makeNote(addNote, note.job, note.folder);
        main.async([weak, outcome] {
            const auto self = weak.lock();
            if (!self) return;
            const PendingNote done = std::move(self->notes_.front());
            self->notes_.pop_front();
            if (!self->notes_.empty()) self->addNext();
            self->added(done.job, outcome);
        });
    });
}

void NoteQueue::added(const CompletedJob& job,
                      const Result<std::string, std::string>& outcome) const
{
    if (outcome) {
        log_.note("PrinterService: added note for " + job.jobName);
        notifications_->showNoteAdded(job.jobName, *outcome);
    } else {
        log_.error("PrinterService: NotesBridge failed: " + outcome.error());
        alert_.warn("Couldn't add to Notes", outcome.error());
    }
}

} // namespace korvane
