#pragma once

#include <chrono>
#include <vector>

namespace korvane {

/**
 * How much time a job may yet waste. What counts is the time on the clock during which at least one
 * of its requests was on its way to failing, so that workers hanging side by side count once; the
 * job as a whole wastes little more than `most`, in however many requests.
 */
class JobPatience {
public:
    using Time = std::chrono::steady_clock::time_point;

    static constexpr std::chrono::milliseconds most = std::chrono::seconds(25);

    /** What a request may take from now on. */
    std::chrono::milliseconds left() const;

    /** A request that began at `from` has failed at `until`, which is no earlier than before. */
    void noteFailure(Time from, Time until, bool wasHanging);

    /** Nothing more is to be expected of the job. */
    bool isUsedUp() const;

private:
    struct Span {
        Time from;
        Time until;
    };

    /** In order and apart from each other. */
    std::vector<Span> wasted_;
    int failures_ = 0;
    int hangs_ = 0;
};

} // namespace korvane
