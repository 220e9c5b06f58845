#include "base/ProcessorTime.h"

#include <ctime>

namespace korvane {

std::chrono::milliseconds processorTime()
{
    timespec time{};
    if (::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time) != 0) return {};
    return std::chrono::milliseconds(time.tv_sec * 1000 + time.tv_nsec / 1'000'000);
}

} // namespace korvane
