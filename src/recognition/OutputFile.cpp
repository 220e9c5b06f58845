#include "recognition/OutputFile.h"

#include <sys/stat.h>
#include <unistd.h>

namespace korvane {

bool truncateAndRewind(const FileDescriptor& file)
{
    return ::ftruncate(file.get(), 0) == 0 && ::lseek(file.get(), 0, SEEK_SET) == 0;
}

bool hasLength(const FileDescriptor& file, std::uint64_t length)
{
    struct stat status {};
    return ::fstat(file.get(), &status) == 0 &&
           static_cast<std::uint64_t>(status.st_size) == length;
}

} // namespace korvane
