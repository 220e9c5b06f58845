#pragma once

#include "base/ByteBuffer.h"
#include "base/Result.h"
#include "base/SystemError.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <utility>

namespace korvane {

/** Gathers what is written, and passes it on in large pieces. Once that fails, nothing more is
 *  passed on. Throws std::bad_alloc. */
class BufferedOutput {
public:
    using Sink = std::function<Result<void, SystemError>(std::span<const std::uint8_t>)>;

    explicit BufferedOutput(Sink sink) : sink_(std::move(sink)) {}

    void append(std::span<const std::uint8_t> bytes);
    void append(std::string_view text);

    /** How many bytes were written, those that have not been passed on included. */
    std::uint64_t size() const { return size_; }

    /** Whether all that was to be passed on was taken. */
    const Result<void, SystemError>& status() const { return passed_; }

    /** Passes on what is left. */
    Result<void, SystemError> flush();

private:
    void pass(std::span<const std::uint8_t> bytes);

    Sink sink_;
    ByteBuffer pending_;
    std::uint64_t size_ = 0;
    Result<void, SystemError> passed_;
};

} // namespace korvane
