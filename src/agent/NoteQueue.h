#pragma once

#include "agent/AgentEnvironment.h"
#include "base/Log.h"
#include "base/Result.h"
#include "document/CompletedJob.h"
#include "event/Queue.h"

#include <deque>
#include <memory>
#include <string>

namespace korvane {

/** Makes notes of jobs one at a time, so that two do not both make the same folder. Used on the
 * main queue; the user is told of each, of one that fails by an alert. */
class NoteQueue : public std::enable_shared_from_this<NoteQueue> {
public:
    /** All that is referred to outlives the queue. */
    NoteQueue(Queues& queues, Log& log, const DesktopEnvironment& desktop);

    /** Makes a note of the job in this folder of notes, on a utility thread. */
    void add(const CompletedJob& job, const std::string& folder);

private:
    struct PendingNote {
        CompletedJob job;
        std::string folder;
    };

    void addNext();
    void added(const CompletedJob& job, const Result<std::string, std::string>& outcome) const;

    Queues& queues_;
    Log& log_;
    Alert& alert_;
    const std::shared_ptr<NotificationManager> notifications_;
    const AddNote addNote_;
    /** The first is being made. */
    std::deque<PendingNote> notes_;
};

} // namespace korvane
