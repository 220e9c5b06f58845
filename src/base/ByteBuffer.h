#pragma once

#include "base/Data.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

namespace korvane {

/**
 * Bytes that grow at the back and are used up at the front, each step costing no more than the
 * bytes it adds or removes (amortized). Large buffers grow by moving pages, not bytes, and room
 * that was reserved but never written costs no memory. Throws std::bad_alloc when there is no more.
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
    std::span<const std::uint8_t> bytes() const { return {block_.get() + head_, size()}; }

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

    std::unique_ptr<std::uint8_t, Free> block_;
    std::size_t capacity_ = 0;
    std::size_t head_ = 0;
    std::size_t tail_ = 0;
};

} // namespace korvane
