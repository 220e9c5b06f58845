#include "workerpool/FailureBudget.h"

#include <algorithm>

namespace korvane {

using std::chrono::milliseconds;

milliseconds FailureBudget::limit() const
{
    return std::max(minLimit, left_ * 2 / 3);
}

void FailureBudget::noteFailure(Time from, Time until)
{
    Time::duration alreadyLost{0};
    Span joined{from, until};
    while (!lost_.empty() && lost_.back().until >= from) {
        const Span& span = lost_.back();
        alreadyLost += span.until - std::max(span.from, from);
        joined.from = std::min(joined.from, span.from);
        lost_.pop_back();
    }
    lost_.push_back(joined);
    left_ -= std::chrono::ceil<milliseconds>(until - from - alreadyLost);
    left_ = std::max(left_, milliseconds(0));
}

void FailureBudget::noteSuccess(milliseconds regained)
{
    left_ = std::min(left_ + regained, capacity);
}

} // namespace korvane
