#include "platform/worker/JobPatience.h"

#include <algorithm>

namespace korvane {

namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;

/** Less would not tell a hanging request from an honest one. */
constexpr milliseconds least = std::chrono::seconds(2);
constexpr int mostHangs = 5;
constexpr int mostFailures = 16;

} // namespace

milliseconds JobPatience::left() const
{
    milliseconds left = most;
    for (const Span& span : wasted_) left -= duration_cast<milliseconds>(span.until - span.from);
    return std::max(left, milliseconds(0));
}

void JobPatience::noteFailure(Time from, Time until, bool wasHanging)
{
    ++failures_;
    if (wasHanging) ++hangs_;
    while (!wasted_.empty() && wasted_.back().until >= from) {
        from = std::min(from, wasted_.back().from);
        wasted_.pop_back();
    }
    wasted_.push_back({from, until});
}

bool JobPatience::isUsedUp() const
{
    return failures_ >= mostFailures || hangs_ >= mostHangs || left() < least;
}

} // namespace korvane
