#include "document/FolderQueues.h"

#include <deque>
#include <utility>

namespace korvane {

namespace {

/** Runs tasks one at a time and in their order on another queue's threads, one of them at most. */
class FolderQueue final : public Queue, public std::enable_shared_from_this<FolderQueue> {
public:
    explicit FolderQueue(Queue& background) : background_(background) {}

    void async(Task task) override
    {
        const std::scoped_lock lock(mutex_);
        tasks_.push_back(std::move(task));
        if (isRunning_) return;
        try {
            resume();
        } catch (...) {
            tasks_.pop_back();
            throw;
        }
        isRunning_ = true;
    }

private:
    void resume()
    {
        background_.async([self = shared_from_this()] { self->run(); });
    }

    void run()
    {
        while (const Task task = next()) {
            try {
                task();
            } catch (...) {
                resume(); // It costs itself, not those behind it.
                throw;
            }
        }
    }

    /** No task when there is nothing left to do. */
    Task next()
    {
        const std::scoped_lock lock(mutex_);
        isRunning_ = !tasks_.empty();
        if (!isRunning_) return {};
        Task task = std::move(tasks_.front());
        tasks_.pop_front();
        return task;
    }

    Queue& background_;
    std::mutex mutex_;
    std::deque<Task> tasks_;
    bool isRunning_ = false;
};

} // namespace

std::shared_ptr<Queue> FolderQueues::of(const std::filesystem::path& folder)
{
    const std::scoped_lock lock(mutex_);
    std::erase_if(queues_, [](const auto& entry) { return entry.second.expired(); });
    std::weak_ptr<Queue>& known = queues_[folder];
    std::shared_ptr<Queue> queue = known.lock();
    if (!queue) known = queue = std::make_shared<FolderQueue>(background_);
    return queue;
}

} // namespace korvane
