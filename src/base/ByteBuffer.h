#pragma once

#include "base/Data.h"
#include "base/SharedMemory.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

namespace korvane {

/**
 * Bytes that grow at the back and are used up at the front, each step costing no more than the
 * bytes it adds or removes (amortized). Large buffers grow by moving pages, not bytes, and room
 * that was reserved but never written costs no memory. They lie in shared memory as far as the
 * system has any. Throws std::bad_alloc when there is no more.
 */
class ByteBuffer {
public:
    ByteBuffer() = default;
    ByteBuffer(ByteBuffer&& other) noexcept { *this = std::move(other); }
    ByteBuffer& operator=(ByteBuffer&& other) noexcept;
    ByteBuffer(const ByteBuffer&) = delete;
    ByteBuffer& operator=(const ByteBuffer&) = delete;
    ~ByteBuffer() = default;

    std::size_t size() const { return tail_ - head_; }
    bool empty() const { return tail_ == head_; }
    std::span<const std::uint8_t> bytes() const { return {start_ + head_, size()}; }

    /** Makes room for `size` bytes in all. */
    void reserve(std::size_t size);

    void append(std::span<const std::uint8_t> bytes);
    void append(std::string_view text);
    void append(std::uint8_t byte);

    /** Room for `count` bytes behind the last one, to be written and then kept with `commit`. */
    std::span<std::uint8_t> prepare(std::size_t count);
    void commit(std::size_t count) { tail_ += count; }

    /** Removes the first `count` bytes; `count` is at most size(). */
    void consume(std::size_t count);

    /** The bytes as Data, without copying them; the buffer is empty afterwards. */
    Data take();

private:
    struct Free {
        void operator()(std::uint8_t* block) const;
    };

    /** Makes room for `count` bytes behind the last one. */
    void makeRoom(std::size_t count);
    void growBy(std::size_t count);
    void growHeap(std::size_t capacity);
    /** Moves the bytes to shared memory; false when there is none. */
    bool moveToShared(std::size_t capacity);

    /** The block is one of the two, or there is none. */
    std::unique_ptr<std::uint8_t, Free> heap_;
    std::optional<SharedMemory> shared_;
    std::uint8_t* start_ = nullptr;
    std::size_t capacity_ = 0;
    std::size_t head_ = 0;
    std::size_t tail_ = 0;
    /** Up to here a large block has its pages. */
    std::size_t populated_ = 0;
};

} // namespace korvane
