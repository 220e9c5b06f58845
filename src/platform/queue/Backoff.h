#pragma once

#include <algorithm>
#include <chrono>

namespace korvane {

/** How long to wait before the next try: 1, 2, 4, 8, 16 seconds and then 30 each time. */
class Backoff {
public:
    std::chrono::seconds next() const { return delay_; }

    /** A try is about to be made after `next()`; the one after it waits longer. */
    std::chrono::seconds advance()
    {
        const std::chrono::seconds current = delay_;
        delay_ = std::min(2 * delay_, longest);
        return current;
    }

    /** A try has succeeded. */
    void reset() { delay_ = first; }

private:
    static constexpr std::chrono::seconds first{1};
    static constexpr std::chrono::seconds longest{30};

    std::chrono::seconds delay_ = first;
};

} // namespace korvane
