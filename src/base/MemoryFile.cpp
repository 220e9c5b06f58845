#include "base/MemoryFile.h"

#include <sys/mman.h>

#include <cerrno>

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

} // namespace korvane
