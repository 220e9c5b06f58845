#include "platform/base/MemoryFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace korvane {

FileDescriptor makeMemoryFile()
{
    // Since Linux 6.3, and wanted there; the C library's header may be older.
    constexpr unsigned noExecSeal = 8;
    constexpr unsigned flags = MFD_CLOEXEC | MFD_ALLOW_SEALING;
    FileDescriptor file(::memfd_create("korvane", flags | noExecSeal));
    if (!file && errno == EINVAL) file = FileDescriptor(::memfd_create("korvane", flags));
    return file;
}

FileDescriptor makeMemoryFile(std::uint64_t size)
{
    FileDescriptor file = makeMemoryFile();
    constexpr int seals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;
    const bool isMade = file && ::ftruncate(file.get(), static_cast<off_t>(size)) == 0 &&
                        ::fcntl(file.get(), F_ADD_SEALS, seals) == 0;
    return isMade ? std::move(file) : FileDescriptor();
}

} // namespace korvane
