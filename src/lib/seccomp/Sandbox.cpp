#include "lib/seccomp/Sandbox.h"

#include "base/Sanitizers.h"
#include "lib/seccomp/Landlock.h"
#include "lib/seccomp/SystemCallFilter.h"

#include <iconv.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>

namespace korvane {

namespace {

struct Limit {
    __rlimit_resource resource;
    rlim_t value;
};

/** The document itself is mapped from its file, which RLIMIT_DATA does not count. The agent limits
 * the time, as it knows when a request began, and retires a worker after half an hour; the limit
 * here, in seconds, ends one that runs on because the agent is stopped. The longest request takes
 * 14 minutes. */
constexpr Limit limits[] = {
    {RLIMIT_CORE, 0},    {RLIMIT_CPU, 60 * 60},           {RLIMIT_DATA, rlim_t{1536} << 20},
    {RLIMIT_NOFILE, 64}, {RLIMIT_FSIZE, rlim_t{4} << 30},
};

/** Never raises the soft or the hard limit. */
Result<void, SystemError> lower(const Limit& limit)
{
    rlimit current{};
    if (::getrlimit(limit.resource, &current) != 0) return failure(SystemError::last());
    current.rlim_max = std::min(current.rlim_max, limit.value);
    current.rlim_cur = std::min(current.rlim_cur, limit.value);
    if (::setrlimit(limit.resource, &current) != 0) return failure(SystemError::last());
    return {};
}

/** Poppler converts text from UTF-16. The C library loads a conversion when it is first opened, and
 *  keeps it as long as it is open: this one stays open. */
void loadCharacterConversion()
{
    static_cast<void>(::iconv_open("UTF-8", "UTF-16"));
}

} // namespace

Result<void, SystemError> enterSandbox()
{
    if (isSanitized) return {};
    loadCharacterConversion();
    // A write past RLIMIT_FSIZE fails with EFBIG.
    std::signal(SIGXFSZ, SIG_IGN);
    for (const Limit& limit : limits) {
        if (auto lowered = lower(limit); !lowered) return lowered;
    }
    if (auto restricted = restrictFileAccess(); !restricted) return restricted;
    return filterSystemCalls();
}

} // namespace korvane
