#include "base/SharedMemory.h"

#include "base/MemoryFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

namespace korvane {

std::optional<SharedMemory> SharedMemory::make(std::size_t size)
{
    FileDescriptor file = makeMemoryFile();
    if (!file || ::ftruncate(file.get(), static_cast<off_t>(size)) != 0) return std::nullopt;
    void* start = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (start == MAP_FAILED) return std::nullopt;
    return SharedMemory(std::move(file), static_cast<std::uint8_t*>(start), size);
}

SharedMemory& SharedMemory::operator=(SharedMemory&& other) noexcept
{
    std::swap(file_, other.file_);
    std::swap(start_, other.start_);
    std::swap(size_, other.size_);
    return *this;
}

SharedMemory::~SharedMemory()
{
    if (start_ != nullptr) ::munmap(start_, size_);
}

bool SharedMemory::resize(std::size_t size)
{
    if (size > size_ && ::ftruncate(file_.get(), static_cast<off_t>(size)) != 0) return false;
    void* moved = ::mremap(start_, size_, size, MREMAP_MAYMOVE);
    const bool resized = moved != MAP_FAILED;
    if (resized) {
        start_ = static_cast<std::uint8_t*>(moved);
        size_ = size;
    }
    // What the file has behind the mapping's end would be of no use.
    static_cast<void>(::ftruncate(file_.get(), static_cast<off_t>(size_)));
    return resized;
}

bool SharedMemory::write(std::size_t offset, std::span<const std::uint8_t> bytes)
{
    while (!bytes.empty()) {
        const ssize_t written =
            ::pwrite(file_.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
        offset += static_cast<std::size_t>(written);
    }
    return true;
}

bool SharedMemory::populate(std::size_t offset, std::size_t end)
{
    constexpr std::size_t pageMask = 65535; // the largest page that Linux has on our processors
    const std::size_t from = offset & ~pageMask;
    if (from >= end) return true;
    // Systems that do not know the advice give the pages when they are written.
    return ::madvise(start_ + from, end - from, MADV_POPULATE_WRITE) == 0 || errno == EINVAL;
}

bool SharedMemory::seal()
{
    return ::fcntl(file_.get(), F_ADD_SEALS,
                   F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_FUTURE_WRITE | F_SEAL_SEAL) == 0;
}

} // namespace korvane
