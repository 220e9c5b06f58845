#include "platform/base/ByteBuffer.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t smallestBlock = 512;

/** Blocks from this size on get their pages in steps, ahead of the bytes: asking the system for
 * many at once costs far less than as many page faults. */
constexpr std::size_t largeBlock = std::size_t{8} << 20;
constexpr std::size_t populateStep = std::size_t{4} << 20;

/** Has the pages from `from` up to `to` made, as far as the system does that. Only a hint. */
void populate(std::uint8_t* from, const std::uint8_t* to)
{
    constexpr std::uintptr_t pageMask = 4095;
    const std::uintptr_t offset = reinterpret_cast<std::uintptr_t>(from) & pageMask;
    std::uint8_t* start = from - offset;
    ::madvise(start, static_cast<std::size_t>(to - start), MADV_POPULATE_WRITE);
}

} // namespace

void ByteBuffer::Free::operator()(std::uint8_t* block) const
{
    std::free(block); // NOLINT(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
}

ByteBuffer::ByteBuffer(ByteBuffer&& other) noexcept
    : block_(std::move(other.block_)), capacity_(std::exchange(other.capacity_, 0)),
      head_(std::exchange(other.head_, 0)), tail_(std::exchange(other.tail_, 0)),
      populated_(std::exchange(other.populated_, 0))
{
}

ByteBuffer& ByteBuffer::operator=(ByteBuffer&& other) noexcept
{
    block_ = std::move(other.block_);
    capacity_ = std::exchange(other.capacity_, 0);
    head_ = std::exchange(other.head_, 0);
    tail_ = std::exchange(other.tail_, 0);
    populated_ = std::exchange(other.populated_, 0);
    return *this;
}

void ByteBuffer::reserve(std::size_t size)
{
    if (size <= capacity_ - head_) return;
    if (size > SIZE_MAX / 2) throw std::bad_alloc();
    const std::size_t capacity = head_ + size;
    // realloc, because it moves the pages of a large block instead of copying them.
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
    auto* grown = static_cast<std::uint8_t*>(std::realloc(block_.get(), capacity));
    if (grown == nullptr) throw std::bad_alloc();
    static_cast<void>(block_.release());
    block_.reset(grown);
    capacity_ = capacity;
}

void ByteBuffer::makeRoom(std::size_t count)
{
    growBy(count);
    if (capacity_ < largeBlock || tail_ + count <= populated_) return;
    const std::size_t end = std::min(capacity_, tail_ + count + populateStep);
    populate(block_.get() + std::max(populated_, tail_), block_.get() + end);
    populated_ = end;
}

void ByteBuffer::growBy(std::size_t count)
{
    if (count <= capacity_ - tail_) return;
    if (head_ >= size() && head_ > 0) {
        std::memmove(block_.get(), block_.get() + head_, size());
        tail_ -= std::exchange(head_, 0);
        if (count <= capacity_ - tail_) return;
    }
    if (count > SIZE_MAX / 4) throw std::bad_alloc();
    reserve(std::max({size() + count, 2 * size(), smallestBlock}));
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
    const std::span<const std::uint8_t> content = bytes();
    std::shared_ptr<std::uint8_t> owner(block_.release(), Free{});
    *this = ByteBuffer();
    return {std::move(owner), content};
}

} // namespace korvane
