#include "document/UnsavedJobs.h"

#include <cerrno>
#include <utility>

namespace korvane {

namespace {

constexpr std::chrono::minutes delayAfterFailure{1};

/** How many jobs each saved one brings back. */
constexpr std::size_t jobsAtATime = 16;

/** One spelling of a folder's path. */
std::filesystem::path keyOf(const std::filesystem::path& folder)
{
    return (folder / "").lexically_normal();
}

bool isMissing(const UnsavedJob& unsaved)
{
    return !unsaved.writeError || unsaved.writeError->code == ENOENT ||
           unsaved.writeError->code == ENOTDIR;
}

} // namespace

bool UnsavedJobs::add(const UnsavedJob& unsaved)
{
    Folder& folder = folders_[keyOf(unsaved.job->ticket().saveDirectory)];
    // Behind the others, which may have better luck.
    folder.jobs.push_back(unsaved.job);
    if (!isMissing(unsaved)) folder.nextTry = main_.now() + delayAfterFailure;
    if (unsaved.wasSetAside) return false;
    return !std::exchange(folder.hasOutage, true);
}

void UnsavedJobs::add(std::shared_ptr<SpooledJob> job)
{
    Folder& folder = folders_[keyOf(job->ticket().saveDirectory)];
    folder.jobs.push_back(std::move(job));
}

void UnsavedJobs::jobSaved(const std::filesystem::path& folder)
{
    const std::filesystem::path key = keyOf(folder);
    for (auto& [path, other] : folders_) {
        if (path == key) other.hasOutage = false;
        if (main_.now() >= other.nextTry) process(other, path == key ? jobsAtATime : 1);
    }
    std::erase_if(folders_, [](const auto& entry) {
        return entry.second.jobs.empty() && !entry.second.hasOutage;
    });
}

void UnsavedJobs::tryAgain()
{
    for (auto& [path, folder] : folders_) {
        // If it is saved now, the others are tried without a delay.
        folder.nextTry = {};
        process(folder, 1);
    }
}

void UnsavedJobs::process(Folder& folder, std::size_t count)
{
    for (; count > 0 && !folder.jobs.empty(); --count) {
        process_(std::move(folder.jobs.front()));
        folder.jobs.pop_front();
    }
}

} // namespace korvane
