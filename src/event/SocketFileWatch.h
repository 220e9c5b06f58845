#pragma once

#include "base/FileDescriptor.h"
#include "event/Queue.h"

#include <filesystem>
#include <functional>
#include <memory>

namespace korvane {

/**
 * Tells when a socket file has come or been made anew, by watching the folders on its way
 * (inotify(7)). Used and destroyed on the queue.
 */
class SocketFileWatch {
public:
    /** `onAppeared` may destroy the watch. */
    SocketFileWatch(std::filesystem::path socket, SerialQueue& queue,
                    std::function<void()> onAppeared);

private:
    void waitForEntry();
    void handleEntries();
    void look();
    std::filesystem::path watchNearestFolder();
    void announce();

    const std::filesystem::path socket_;
    SerialQueue& queue_;
    const std::function<void()> onAppeared_;
    FileDescriptor inotify_;
    std::unique_ptr<DescriptorWatch> watch_;
    std::unique_ptr<DelayedTask> announcement_;
};

} // namespace korvane
