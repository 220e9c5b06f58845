#pragma once

#include "event/Queue.h"

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>

namespace korvane {

/**
 * A serial queue for each save folder. Such a folder is somebody else's: a share whose server is
 * away may hold a call for minutes. Only that folder's own tasks wait then. The queues run on the
 * background queue's threads, so what they were given is done before the process ends.
 *
 * Any thread; the queues outlive this object, and the background queue the queues.
 */
class FolderQueues {
public:
    explicit FolderQueues(Queue& background) : background_(background) {}

    /** That folder's queue, which lives as long as it has tasks or somebody holds it. */
    std::shared_ptr<Queue> of(const std::filesystem::path& folder);

private:
    Queue& background_;
    std::mutex mutex_;
    std::map<std::filesystem::path, std::weak_ptr<Queue>> queues_;
};

} // namespace korvane
