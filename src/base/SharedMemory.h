#pragma once

#include "base/FileDescriptor.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>

namespace korvane {

/**
 * Writable memory with a descriptor of its own (a memfd), so that another process can be given it
 * without a copy. It grows by moving pages; what was never written costs nothing.
 */
class SharedMemory {
public:
    /** Nothing when the system has no such memory to give: no descriptor is left, for example. */
    static std::optional<SharedMemory> make(std::size_t size);

    SharedMemory(SharedMemory&& other) noexcept
        : file_(std::move(other.file_)), start_(std::exchange(other.start_, nullptr)),
          size_(std::exchange(other.size_, 0))
    {
    }
    SharedMemory& operator=(SharedMemory&& other) noexcept;
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;
    ~SharedMemory();

    std::uint8_t* data() const { return start_; }
    std::size_t size() const { return size_; }
    int descriptor() const { return file_.get(); }

    /** Grows or shrinks; `data()` may change. False, and nothing is changed, when that fails. */
    bool resize(std::size_t size);

    /** Puts bytes, which lie elsewhere, at `offset`; they fit. False when there is not enough
     * memory for them. */
    bool write(std::size_t offset, std::span<const std::uint8_t> bytes);

    /** Has the pages from `offset` up to `end` made. False when there is not enough memory for
     *  them; to write there would end the process then. */
    bool populate(std::size_t offset, std::size_t end);

    /** From here on nobody can change the size, nor write but through this mapping. */
    bool seal();

private:
    SharedMemory(FileDescriptor file, std::uint8_t* start, std::size_t size)
        : file_(std::move(file)), start_(start), size_(size)
    {
    }

    FileDescriptor file_;
    std::uint8_t* start_ = nullptr;
    std::size_t size_ = 0;
};

} // namespace korvane
