#include "platform/sandbox/Sandbox.h"

#include "platform/sandbox/ReadableFiles.h"
#include "platform/sandbox/Sanitizers.h"
#include "platform/sandbox/SystemCallFilter.h"

#include <iconv.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>

namespace korvane {

namespace {

struct Bound {
    __rlimit_resource resource;
    rlim_t value;
};

/** The document itself is shared memory, which RLIMIT_DATA does not count. Processor time is the
 * agent's to bound: it knows when a request began. */
constexpr Bound bounds[] = {
    {RLIMIT_CORE, 0},
    {RLIMIT_DATA, rlim_t{1536} << 20},
    {RLIMIT_NOFILE, 64},
    {RLIMIT_FSIZE, rlim_t{4} << 30},
};

/** Neither the limit nor its ceiling is ever raised. */
Result<void, SystemError> bind(const Bound& bound)
{
    rlimit limit{};
    if (::getrlimit(bound.resource, &limit) != 0) return failure(SystemError::last());
    limit.rlim_max = std::min(limit.rlim_max, bound.value);
    limit.rlim_cur = std::min(limit.rlim_cur, bound.value);
    if (::setrlimit(bound.resource, &limit) != 0) return failure(SystemError::last());
    return {};
}

/** Poppler's text passes through UTF-16, a conversion that the C library loads when it is first
 * asked for, and keeps for as long as somebody has it open: for good. */
void loadCharacterConversion()
{
    static_cast<void>(::iconv_open("UTF-8", "UTF-16"));
}

} // namespace

Result<void, SystemError> enterSandbox()
{
    if (isSanitized) return {};
    loadCharacterConversion();
    // A file that grows too long is an error of that write.
    std::signal(SIGXFSZ, SIG_IGN);
    for (const Bound& bound : bounds) {
        if (auto bounded = bind(bound); !bounded) return bounded;
    }
    if (auto confined = confineReading(); !confined) return confined;
    return filterSystemCalls();
}

} // namespace korvane
