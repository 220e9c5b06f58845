#include "event/SocketFileWatch.h"

#include "base/Files.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <utility>

namespace korvane {

namespace {

/** Between the file of a socket and somebody listening on it. */
constexpr std::chrono::seconds startingTime{1};

} // namespace

SocketFileWatch::SocketFileWatch(std::filesystem::path socket, SerialQueue& queue,
                                 std::function<void()> onAppeared)
    : socket_(std::move(socket)), queue_(queue), onAppeared_(std::move(onAppeared)),
      inotify_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    if (socket_.empty() || !inotify_) return;
    watch_ = queue.watch(inotify_.get());
    waitForEntry();
    look();
}

void SocketFileWatch::waitForEntry()
{
    watch_->whenReadable([this] { handleEntries(); });
}

void SocketFileWatch::handleEntries()
{
    std::array<char, 4096> events{};
    while (::read(inotify_.get(), events.data(), events.size()) > 0) {
    }
    waitForEntry();
    look();
}

void SocketFileWatch::look()
{
    // What is made before its folder is watched goes unnoticed, so we look again; a folder that may
    // not be watched comes up twice.
    std::filesystem::path seen;
    for (auto next = watchNearestFolder(); isDirectory(next) && next != seen;) {
        seen = std::exchange(next, watchNearestFolder());
    }
    if (fileExists(socket_)) announce();
}

/** Watches the nearest existing folder above the socket, and gives what will be made in it. */
std::filesystem::path SocketFileWatch::watchNearestFolder()
{
    std::filesystem::path next = socket_;
    std::filesystem::path folder = next.parent_path();
    while (::inotify_add_watch(inotify_.get(), folder.c_str(),
                               IN_CREATE | IN_MOVED_TO | IN_ONLYDIR) < 0 &&
           folder.has_relative_path()) {
        next = std::exchange(folder, folder.parent_path());
    }
    return next;
}

void SocketFileWatch::announce()
{
    announcement_ = queue_.after(startingTime, [this] {
        const auto onAppeared = onAppeared_;
        onAppeared();
    });
}

} // namespace korvane
