#pragma once

#include "platform/log/Log.h"

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/** A log that keeps its lines for the test to read. Lines may come from any thread. */
class RecordingLog final : public Log {
public:
    struct Entry {
        LogLevel level = LogLevel::normal;
        std::string text;

        friend bool operator==(const Entry&, const Entry&) = default;
        friend std::ostream& operator<<(std::ostream& stream, const Entry& entry)
        {
            return stream << (entry.level == LogLevel::error ? "error: " : "note: ") << entry.text;
        }
    };

    void write(LogLevel level, std::string_view line) override
    {
        const std::scoped_lock lock(mutex_);
        entries_.push_back({level, std::string(line)});
    }

    /** Every line with its level, oldest first. */
    std::vector<Entry> entries() const
    {
        const std::scoped_lock lock(mutex_);
        return entries_;
    }

    /** The text of every line, oldest first. */
    std::vector<std::string> lines() const
    {
        return texts([](const Entry&) { return true; });
    }

    /** The text of the lines at error level, oldest first. */
    std::vector<std::string> errors() const
    {
        return texts([](const Entry& entry) { return entry.level == LogLevel::error; });
    }

    /** How many lines there are of exactly this text, at either level. */
    std::ptrdiff_t count(std::string_view line) const
    {
        const std::scoped_lock lock(mutex_);
        return std::ranges::count(entries_, line, &Entry::text);
    }

    void clear()
    {
        const std::scoped_lock lock(mutex_);
        entries_.clear();
    }

private:
    template <typename Predicate>
    std::vector<std::string> texts(Predicate isWanted) const
    {
        const std::scoped_lock lock(mutex_);
        std::vector<std::string> wanted;
        for (const Entry& entry : entries_) {
            if (isWanted(entry)) wanted.push_back(entry.text);
        }
        return wanted;
    }

    mutable std::mutex mutex_;
    std::vector<Entry> entries_;
};

} // namespace korvane
