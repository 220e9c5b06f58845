#pragma once

#include <string_view>

namespace korvane {

enum class LogLevel { normal, error };

/** The system log. Lines may come from any thread; each is one complete sentence of its component.
 */
class Log {
public:
    virtual ~Log() = default;

    /** Writes one line, exactly its text. */
    virtual void write(LogLevel level, std::string_view line) = 0;

    /** Progress, at the default level. */
    void note(std::string_view line) { write(LogLevel::normal, line); }

    /** Network failures, refused requests, failed writes. */
    void error(std::string_view line) { write(LogLevel::error, line); }
};

} // namespace korvane
