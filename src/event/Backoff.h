#pragma once

#include <algorithm>
#include <chrono>

namespace korvane {

/** How long to wait before the next try: 1, 2, 4, 8, 16 seconds and then 30 each time. */
class Backoff {
public:
    std::chrono::seconds next() const { return delay_; }

    /** The delay of the next try; the one after it is longer. */
    std::chrono::seconds advance()
    {
        const std::chrono::seconds current = delay_;
        delay_ = std::min(2 * delay_, maxDelay);
        return current;
    }

    /** A try has succeeded. */
    void reset() { delay_ = firstDelay; }

private:
    static constexpr std::chrono::seconds firstDelay{1};
    static constexpr std::chrono::seconds maxDelay{30};

    std::chrono::seconds delay_ = firstDelay;
};

} // namespace korvane
