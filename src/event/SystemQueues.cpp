#include "event/SystemQueues.h"

#include "event/EventLoop.h"

#include <fmt/format.h>
#include <pthread.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <exception>
#include <list>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace korvane {

namespace {

/** The kernel keeps 15 bytes of a thread's name. */
void nameThisThread(const std::string& label)
{
    pthread_setname_np(pthread_self(), label.substr(0, 15).c_str());
}

std::size_t coreCount()
{
    return std::max(2U, std::thread::hardware_concurrency());
}

/** A job that is written to a slow folder holds a background thread, but no core. */
constexpr std::size_t backgroundThreads = 64;

} // namespace

/** The threads of the serial queues, so that none outlives the process's objects. */
class SystemQueues::Threads {
public:
    void start(const std::shared_ptr<EventLoop>& loop, const std::string& label)
    {
        const std::lock_guard lock(mutex_);
        reap();
        entries_.push_back({loop, std::thread([loop = loop, label]() mutable {
                                nameThisThread(label);
                                loop->serve();
                                loop->end();
                                loop.reset();
                            })});
    }

    /** Oldest first, one after the other: a queue may be waiting for one that was made later. */
    void stopAll()
    {
        const std::lock_guard lock(mutex_);
        for (Entry& entry : entries_) {
            if (auto loop = entry.loop.lock()) loop->stop();
            entry.thread.join();
        }
        entries_.clear();
    }

private:
    struct Entry {
        std::weak_ptr<EventLoop> loop;
        std::thread thread;
    };

    /** Joins the threads whose loops have ended. */
    void reap()
    {
        std::erase_if(entries_, [](Entry& entry) {
            if (!entry.loop.expired()) return false;
            entry.thread.join();
            return true;
        });
    }

    std::mutex mutex_;
    std::vector<Entry> entries_;
};

/** Threads that come with the work; of those without work, as many stay as there are cores. */
class SystemQueues::Pool final : public Queue {
public:
    Pool(std::string label, std::size_t limit, Log& log)
        : label_(std::move(label)), log_(log), limit_(limit)
    {
    }
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;
    ~Pool() override { finish(); }

    void async(Task task) override
    {
        const std::lock_guard lock(mutex_);
        if (state_ == State::ended) return;
        tasks_.push_back(std::move(task));
        // It comes from a task, whose thread runs it next.
        if (state_ == State::finishing) return;
        if (idle_ >= tasks_.size()) {
            wake_.notify_one();
        } else if (threads_.size() < limit_) {
            addThread();
        }
    }

    /** Drops the tasks that have not begun. */
    void dropWaiting()
    {
        std::deque<Task> dropped;
        const std::lock_guard lock(mutex_);
        tasks_.swap(dropped);
    }

    /** Waits for every task and for those that they hand over, and takes no more. */
    void finish()
    {
        {
            const std::lock_guard lock(mutex_);
            if (state_ == State::ended) return;
            state_ = State::finishing;
        }
        wake_.notify_all();
        for (std::thread& thread : threads_) thread.join();
        threads_.clear();
        if (left_.joinable()) left_.join();
        const std::lock_guard lock(mutex_);
        state_ = State::ended;
    }

private:
    using Place = std::list<std::thread>::iterator;

    enum class State { serving, finishing, ended };

    void addThread()
    {
        std::list<std::thread> added;
        try {
            const auto place = added.emplace(added.end());
            *place = std::thread([this, place] { serve(place); });
            threads_.splice(threads_.end(), added);
        } catch (const std::exception&) {
            // The threads that there are do it, later. Without any, the task cannot be done.
            if (!threads_.empty()) return;
            tasks_.pop_back();
            throw;
        }
    }

    void serve(Place place)
    {
        nameThisThread(label_);
        while (const std::optional<Task> task = next()) {
            try {
                (*task)();
            } catch (const std::exception& error) {
                log_.error(fmt::format("KorvaneAgent: a task failed: {}", error.what()));
            }
        }
        leave(place);
    }

    /** Nothing, when this thread is to end. */
    std::optional<Task> next()
    {
        std::unique_lock lock(mutex_);
        if (tasks_.empty() && idle_ >= spare_) return {};
        ++idle_;
        wake_.wait(lock, [this] { return state_ != State::serving || !tasks_.empty(); });
        --idle_;
        if (tasks_.empty()) return {};
        Task task = std::move(tasks_.front());
        tasks_.pop_front();
        return task;
    }

    /** Each thread that leaves waits for the one that left before it. */
    void leave(Place place)
    {
        std::thread before;
        const std::lock_guard lock(mutex_);
        if (state_ != State::serving) return;
        before = std::exchange(left_, std::move(*place));
        threads_.erase(place);
        // That one holds no lock any more.
        if (before.joinable()) before.join();
    }

    const std::string label_;
    Log& log_;
    const std::size_t limit_;
    const std::size_t spare_ = coreCount();
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Task> tasks_;
    std::list<std::thread> threads_;
    std::thread left_;
    std::size_t idle_ = 0;
    State state_ = State::serving;
};

SystemQueues::SystemQueues(Log& log)
    : log_(log), threads_(std::make_unique<Threads>()), main_(std::make_unique<EventLoop>(log)),
      background_(std::make_unique<Pool>("background", backgroundThreads, log)),
      utility_(std::make_unique<Pool>("utility", coreCount(), log))
{
}

SystemQueues::~SystemQueues()
{
    endOthers();
}

void SystemQueues::endOthers()
{
    threads_->stopAll();
    utility_->dropWaiting();
    utility_->finish();
    background_->finish();
}

SerialQueue& SystemQueues::main()
{
    return *main_;
}

Queue& SystemQueues::background()
{
    return *background_;
}

Queue& SystemQueues::utility()
{
    return *utility_;
}

std::shared_ptr<SerialQueue> SystemQueues::makeSerial(const std::string& label)
{
    auto loop = std::make_shared<EventLoop>(log_);
    threads_->start(loop, label);
    // Whoever drops the last handle, on whatever thread, lets the loop run dry.
    return {loop.get(), [loop](SerialQueue*) { loop->finish(); }};
}

void SystemQueues::runMain()
{
    main_->serve();
    endOthers();
    main_->end();
}

void SystemQueues::stopMain()
{
    main_->stop();
}

} // namespace korvane
