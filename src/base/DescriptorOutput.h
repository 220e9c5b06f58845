#pragma once

#include "base/Result.h"
#include "base/SystemError.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace korvane {

/** Writes a file from its start to its end through a descriptor that someone else owns. */
class DescriptorOutput {
public:
    explicit DescriptorOutput(int descriptor) : descriptor_(descriptor) {}

    /** Adds the bytes; the disk is set to work on what is written while the next are made. */
    Result<void, SystemError> write(std::span<const std::uint8_t> bytes);

private:
    void startWriteback();

    int descriptor_;
    std::size_t written_ = 0;
    /** Up to here the disk was asked to write. */
    std::size_t flushed_ = 0;
};

} // namespace korvane
