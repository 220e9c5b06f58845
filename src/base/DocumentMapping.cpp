#include "base/DocumentMapping.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

namespace korvane {

namespace {

/** Memory that is mapped for as long as one Data needs it. */
class Mapping {
public:
    Mapping(int file, std::size_t size)
        : start_(::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0)), size_(size)
    {
    }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;
    ~Mapping()
    {
        if (*this) ::munmap(start_, size_);
    }

    explicit operator bool() const { return start_ != MAP_FAILED; }
    std::span<const std::uint8_t> bytes() const
    {
        return {static_cast<const std::uint8_t*>(start_), size_};
    }

private:
    void* start_;
    std::size_t size_;
};

} // namespace

Result<Data, SystemError> mapDocument(const DocumentFile& document)
{
    const int file = document.file->get();
    struct stat status {};
    if (::fstat(file, &status) != 0) return failure(SystemError::last());
    if (!S_ISREG(status.st_mode) || document.length > static_cast<std::uint64_t>(status.st_size))
        return failure(SystemError{EINVAL});
    if (document.length == 0) return Data();
    auto mapping = std::make_shared<const Mapping>(file, document.length);
    if (!*mapping) return failure(SystemError::last());
    const std::span content = mapping->bytes();
    return Data(std::move(mapping), content);
}

void releasePages(const Data& mapped)
{
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    auto* const start = const_cast<std::uint8_t*>(mapped.bytes().data());
    const std::size_t skipped = (page - reinterpret_cast<std::uintptr_t>(start) % page) % page;
    if (mapped.size() < skipped + page) return;
    ::madvise(start + skipped, (mapped.size() - skipped) / page * page, MADV_DONTNEED);
}

} // namespace korvane
