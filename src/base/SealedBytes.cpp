#include "base/SealedBytes.h"

#include "base/DescriptorOutput.h"
#include "base/MemoryFile.h"

#include <fcntl.h>
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
    Mapping(int file, std::uint64_t offset, std::size_t size)
        : start_(::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, static_cast<off_t>(offset))),
          size_(size)
    {
    }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;
    ~Mapping()
    {
        if (*this) ::munmap(start_, size_);
    }

    explicit operator bool() const { return start_ != MAP_FAILED; }
    const std::uint8_t* data() const { return static_cast<const std::uint8_t*>(start_); }

private:
    void* start_;
    std::size_t size_;
};

Result<SealedBytes, SystemError> copyOf(const Data& data)
{
    FileDescriptor file = makeMemoryFile();
    if (!file) return failure(SystemError::last());
    if (auto written = DescriptorOutput(file.get()).write(data.bytes()); !written)
        return failure(written.error());
    constexpr int seals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;
    if (::fcntl(file.get(), F_ADD_SEALS, seals) != 0) return failure(SystemError::last());
    return SealedBytes{.file = share(std::move(file)), .length = data.size()};
}

} // namespace

Result<SealedBytes, SystemError> sealBytes(const Data& data)
{
    const auto shared = data.shared();
    if (!shared) return copyOf(data);
    FileDescriptor file(::fcntl(shared->descriptor, F_DUPFD_CLOEXEC, 0));
    if (!file) return failure(SystemError::last());
    return SealedBytes{
        .file = share(std::move(file)), .offset = shared->offset, .length = shared->length};
}

Result<Data, SystemError> mapSealedBytes(const SealedBytes& bytes)
{
    const int file = bytes.file->get();
    const int seals = ::fcntl(file, F_GET_SEALS);
    struct stat status {};
    if (seals < 0 || ::fstat(file, &status) != 0) return failure(SystemError::last());
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if ((seals & F_SEAL_SHRINK) == 0 || bytes.offset > size || bytes.length > size - bytes.offset) {
        return failure(SystemError{EINVAL});
    }
    if (bytes.length == 0) return Data();
    constexpr std::uint64_t pageMask = 65535; // the largest page that Linux has on our processors
    const std::size_t skipped = bytes.offset & pageMask;
    const std::size_t length = bytes.length;
    auto mapping = std::make_shared<const Mapping>(file, bytes.offset - skipped, skipped + length);
    if (!*mapping) return failure(SystemError::last());
    const std::span content(mapping->data() + skipped, length);
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
