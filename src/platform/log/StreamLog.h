#pragma once

#include "platform/log/Log.h"

#include <mutex>

namespace korvane {

/**
 * Writes each line, and nothing else, to a descriptor that stays the caller's. A line stays whole
 * however many threads write. A reader who leaves or stops reading holds us up for a second, once:
 * what cannot be written is dropped. Expects SIGPIPE to be ignored.
 */
class StreamLog final : public Log {
public:
    explicit StreamLog(int descriptor) : descriptor_(descriptor) {}

    void write(LogLevel level, std::string_view line) override;

private:
    bool writeWhole(std::string_view text);
    bool becomesWritable();

    int descriptor_;
    std::mutex mutex_;
    /** The reader has kept us waiting; the next line does not wait again. */
    bool stalled_ = false;
    /** The latest line was cut off: the next one begins with a line end. */
    bool unfinished_ = false;
};

} // namespace korvane
