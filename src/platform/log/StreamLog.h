#pragma once

#include "platform/log/Log.h"

#include <mutex>

namespace korvane {

/**
 * Writes each line, and nothing else, to a descriptor that stays the caller's. A line is one write
 * and stays whole however many threads write. Nothing that happens to the reader disturbs us: a
 * line that cannot be written is dropped.
 */
class StreamLog final : public Log {
public:
    explicit StreamLog(int descriptor) : descriptor_(descriptor) {}

    void write(LogLevel level, std::string_view line) override;

private:
    int descriptor_;
    std::mutex mutex_;
};

} // namespace korvane
