#pragma once

#include "base/Clock.h"
#include "base/Log.h"
#include "document/FolderQueues.h"
#include "event/Queue.h"
#include "recognition/DocumentService.h"
#include "recognition/OCR.h"
#include "spool/Spool.h"

#include <string>

namespace korvane {

/** What jobs are worked on with. All that is referred to outlives the jobs. */
struct JobEnvironment {
    Queues& queues;
    FolderQueues& folders;
    Spool& spool;
    const Clock& clock;
    Log& log;
    DocumentService& documents;
    OCR& ocr;
    /** The login name of the user, who becomes the author of searchable PDFs. */
    std::string author;
};

} // namespace korvane
