#pragma once

#include "server/KnownJob.h"

#include <memory>
#include <utility>

namespace korvane {

/** A document of a job while it arrives. Dropped before all of it is there, its client has left. */
class DocumentUpload {
public:
    /** Whether others may come for the job, if this one is lost. */
    enum class Kind { onlyChance, replaceable };

    DocumentUpload(std::shared_ptr<KnownJob> job, Kind kind) : job_(std::move(job)), kind_(kind)
    {
        job_->isReceiving = true;
        job_->progress->receive();
    }
    DocumentUpload(const DocumentUpload&) = delete;
    DocumentUpload& operator=(const DocumentUpload&) = delete;
    ~DocumentUpload()
    {
        if (isWhole_) return;
        job_->isReceiving = false;
        if (kind_ == Kind::onlyChance)
            job_->progress->abort("aborted-by-system", "The document did not arrive whole");
    }

    /** All of it has arrived, and is about to be taken in. */
    void finish() { isWhole_ = true; }

private:
    const std::shared_ptr<KnownJob> job_;
    const Kind kind_;
    bool isWhole_ = false;
};

} // namespace korvane
