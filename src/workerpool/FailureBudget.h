#pragma once

#include <chrono>
#include <vector>

namespace korvane {

/**
 * How much time a job may yet lose to requests that fail. What counts is the time on the clock
 * during which at least one of them was running, so that workers hanging side by side count once.
 * Requests that succeed fill it again: what is bounded is not how often requests fail but how long
 * a job goes on without getting anywhere.
 *
 * A request gets two thirds of what is left: so 40 s at first, enough for a full page on a slow
 * computer, and never all, so that a job in which a page that hangs follows each one that works
 * goes on to its end: it loses 12 s to the one and regains 12 s from the other, which leaves it
 * between 6 s and 18 s.
 */
class FailureBudget {
public:
    using Time = std::chrono::steady_clock::time_point;

    /** What it holds at first, and at most: half a minute for a job in which nothing works would be
     *  less than one page may take. */
    static constexpr std::chrono::milliseconds capacity = std::chrono::seconds(60);
    /** The least that a request gets: in less, one that hangs cannot be told from one that works.
     */
    static constexpr std::chrono::milliseconds minLimit = std::chrono::seconds(5);

    std::chrono::milliseconds left() const { return left_; }

    /** What a request may take from now on. */
    std::chrono::milliseconds limit() const;

    /** With less than `minLimit` left, further requests are not worth trying. */
    bool isUsedUp() const { return left_ < minLimit; }

    /** A request that began at `from` has failed at `until`, which is no earlier than before. */
    void noteFailure(Time from, Time until);

    /** A request has succeeded, for which the job gets so much time back. */
    void noteSuccess(std::chrono::milliseconds regained);

private:
    struct Span {
        Time from;
        Time until;
    };

    std::chrono::milliseconds left_ = capacity;
    /** What was lost, in ascending order and disjoint. */
    std::vector<Span> lost_;
};

} // namespace korvane
