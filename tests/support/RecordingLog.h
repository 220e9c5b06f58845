#pragma once

#include "base/Log.h"

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/** A log that keeps its lines for the test to read. Lines may come from any thread. */
class RecordingLog final : public Log {
public:
    void write(LogLevel level, std::string_view line) override
    {
        const std::scoped_lock lock(mutex_);
        lines_.emplace_back(line);
        if (level == LogLevel::error) errors_.emplace_back(line);
    }

    /** Every line, oldest first. */
    std::vector<std::string> lines() const
    {
        const std::scoped_lock lock(mutex_);
        return lines_;
    }

    /** The lines at error level, oldest first. */
    std::vector<std::string> errors() const
    {
        const std::scoped_lock lock(mutex_);
        return errors_;
    }

    /** How many lines there are of exactly this text, at either level. */
    std::ptrdiff_t count(std::string_view line) const { return std::ranges::count(lines(), line); }

    void clear()
    {
        const std::scoped_lock lock(mutex_);
        lines_.clear();
        errors_.clear();
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
    std::vector<std::string> errors_;
};

} // namespace korvane
