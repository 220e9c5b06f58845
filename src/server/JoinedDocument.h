#pragma once

#include "base/DocumentFile.h"
#include "base/Result.h"
#include "base/SystemError.h"

#include <mutex>

namespace korvane {

/** The documents of one job, one after the other in one file. Safe from any thread; calls wait for
 *  the disk. */
class JoinedDocument {
public:
    /** Adds a document; the first one's file is taken over. False if it has been taken meanwhile.
     */
    Result<bool, SystemError> append(const DocumentFile& document);

    /** Takes what there is; no file if that is nothing. */
    DocumentFile take();

private:
    std::mutex mutex_;
    DocumentFile joined_;
    bool isTaken_ = false;
};

} // namespace korvane
