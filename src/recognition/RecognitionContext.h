#pragma once

#include "base/Log.h"
#include "event/Queue.h"
#include "recognition/DocumentService.h"
#include "recognition/LanguageMemory.h"

#include <memory>

namespace korvane {

/** What the documents that are being recognized share. */
struct RecognitionContext {
    /** All of their state lives on it. */
    std::shared_ptr<SerialQueue> queue;
    DocumentService& documents;
    Log& log;
    LanguageMemory languages;
};

} // namespace korvane
