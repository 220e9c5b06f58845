#pragma once

#include "base/SystemError.h"
#include "spool/SpooledJob.h"

#include <filesystem>
#include <memory>
#include <optional>

namespace korvane {

/** A job that could not be saved for now. */
struct UnsavedJob {
    std::shared_ptr<SpooledJob> job;
    /** Why it could not be written; nothing when there was no save folder to write it to. */
    std::optional<SystemError> writeError;
    /** Where its document has been moved; empty when it was there already, or could not be moved.
     */
    std::filesystem::path document;
    /** Whether it had been set aside before, so that the user knows of it. */
    bool wasSetAside = false;
};

} // namespace korvane
