#include "base/FileDescriptor.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>

namespace korvane {

FileDescriptor::~FileDescriptor()
{
    if (descriptor_ >= 0) ::close(descriptor_);
}

void raiseDescriptorLimit()
{
    constexpr rlim_t plenty = 65536;
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = std::max(limit.rlim_cur, std::min(limit.rlim_max, plenty));
    // Without more it works as well, for fewer jobs at a time.
    static_cast<void>(::setrlimit(RLIMIT_NOFILE, &limit));
}

} // namespace korvane
