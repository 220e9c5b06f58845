#pragma once

#include "document/CompletedJob.h"

#include <cstddef>
#include <list>
#include <optional>
#include <string>

namespace korvane {

/**
 * The jobs whose notifications the user has not answered, by the notification's identifier. Most
 * are never answered, and an agent runs for weeks: beyond 256 jobs, or beyond 32 MiB of text, the
 * oldest are dropped. The latest is always kept.
 */
class PendingNotifications {
public:
    void add(std::string identifier, const CompletedJob& job);

    /** Removes the job and gives it. */
    std::optional<CompletedJob> take(const std::string& identifier);

private:
    struct Entry {
        std::string identifier;
        CompletedJob job;
    };

    std::list<Entry> entries_;
    std::size_t textBytes_ = 0;
};

} // namespace korvane
