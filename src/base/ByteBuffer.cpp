#include "base/ByteBuffer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t minBlock = 512;

} // namespace

void ByteBuffer::Free::operator()(std::uint8_t* block) const
{
    std::free(block); // NOLINT(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
}

ByteBuffer& ByteBuffer::operator=(ByteBuffer&& other) noexcept
{
    block_ = std::move(other.block_);
    capacity_ = std::exchange(other.capacity_, 0);
    head_ = std::exchange(other.head_, 0);
    tail_ = std::exchange(other.tail_, 0);
    return *this;
}

void ByteBuffer::reserve(std::size_t size)
{
    if (size <= capacity_ - head_) return;
    if (size > SIZE_MAX / 4) throw std::bad_alloc();
    const std::size_t capacity = head_ + size;
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
    auto* grown = static_cast<std::uint8_t*>(std::realloc(block_.get(), capacity));
    if (grown == nullptr) throw std::bad_alloc();
    static_cast<void>(block_.release());
    block_.reset(grown);
    capacity_ = capacity;
}

void ByteBuffer::makeRoom(std::size_t count)
{
    if (count <= capacity_ - tail_) return;
    if (head_ >= size() && head_ > 0) {
        std::memmove(block_.get(), block_.get() + head_, size());
        tail_ -= std::exchange(head_, 0);
        if (count <= capacity_ - tail_) return;
    }
    if (count > SIZE_MAX / 4) throw std::bad_alloc();
    reserve(std::max({size() + count, 2 * size(), minBlock}));
}

void ByteBuffer::append(std::span<const std::uint8_t> bytes)
{
    if (bytes.empty()) return;
    makeRoom(bytes.size());
    std::memcpy(block_.get() + tail_, bytes.data(), bytes.size());
    tail_ += bytes.size();
}

void ByteBuffer::append(std::string_view text)
{
    append(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

void ByteBuffer::append(std::uint8_t byte)
{
    makeRoom(1);
    block_.get()[tail_++] = byte;
}

std::span<std::uint8_t> ByteBuffer::prepare(std::size_t count)
{
    makeRoom(count);
    return {block_.get() + tail_, count};
}

void ByteBuffer::consume(std::size_t count)
{
    head_ += count;
    if (head_ == tail_) head_ = tail_ = 0;
}

Data ByteBuffer::take()
{
    ByteBuffer taken = std::move(*this);
    const std::span<const std::uint8_t> content = taken.bytes();
    return {std::shared_ptr<const std::uint8_t>(std::move(taken.block_)), content};
}

} // namespace korvane
