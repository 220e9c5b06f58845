#include "base/ByteBuffer.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t minBlock = 512;

/** Blocks from this size on lie in shared memory. They get their pages in steps, ahead of the
 * bytes: asking the system for many at once costs far less than as many page faults. */
constexpr std::size_t largeBlock = std::size_t{8} << 20;
constexpr std::size_t populateStep = std::size_t{4} << 20;

/** From so many bytes on the system copies them into shared memory: it then need not clear the
 * pages first, which costs as much as filling them. */
constexpr std::size_t writeSize = std::size_t{16} << 10;

} // namespace

void ByteBuffer::Free::operator()(std::uint8_t* block) const
{
    std::free(block); // NOLINT(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
}

ByteBuffer& ByteBuffer::operator=(ByteBuffer&& other) noexcept
{
    heap_ = std::move(other.heap_);
    shared_ = std::exchange(other.shared_, std::nullopt);
    start_ = std::exchange(other.start_, nullptr);
    capacity_ = std::exchange(other.capacity_, 0);
    head_ = std::exchange(other.head_, 0);
    tail_ = std::exchange(other.tail_, 0);
    populated_ = std::exchange(other.populated_, 0);
    return *this;
}

void ByteBuffer::reserve(std::size_t size)
{
    if (size <= capacity_ - head_) return;
    if (size > SIZE_MAX / 4) throw std::bad_alloc();
    const std::size_t capacity = head_ + size;
    if (shared_) {
        if (!shared_->resize(capacity)) throw std::bad_alloc();
        start_ = shared_->data();
    } else if (capacity < largeBlock || !moveToShared(capacity)) {
        growHeap(capacity);
    }
    capacity_ = capacity;
}

void ByteBuffer::growHeap(std::size_t capacity)
{
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
    auto* grown = static_cast<std::uint8_t*>(std::realloc(heap_.get(), capacity));
    if (grown == nullptr) throw std::bad_alloc();
    static_cast<void>(heap_.release());
    heap_.reset(grown);
    start_ = grown;
}

bool ByteBuffer::moveToShared(std::size_t capacity)
{
    auto memory = SharedMemory::make(capacity);
    if (!memory || !memory->write(head_, bytes())) return false;
    shared_ = std::move(memory);
    heap_.reset();
    start_ = shared_->data();
    populated_ = tail_;
    return true;
}

void ByteBuffer::makeRoom(std::size_t count)
{
    growBy(count);
    if (!shared_ || tail_ + count <= populated_) return;
    const std::size_t end = std::min(capacity_, tail_ + count + populateStep);
    if (!shared_->populate(std::max(populated_, tail_), end)) throw std::bad_alloc();
    populated_ = end;
}

void ByteBuffer::growBy(std::size_t count)
{
    if (count <= capacity_ - tail_) return;
    if (head_ >= size() && head_ > 0) {
        std::memmove(start_, start_ + head_, size());
        tail_ -= std::exchange(head_, 0);
        if (count <= capacity_ - tail_) return;
    }
    if (count > SIZE_MAX / 4) throw std::bad_alloc();
    reserve(std::max({size() + count, 2 * size(), minBlock}));
}

void ByteBuffer::append(std::span<const std::uint8_t> bytes)
{
    if (bytes.empty()) return;
    growBy(bytes.size());
    if (shared_ && bytes.size() >= writeSize) {
        if (!shared_->write(tail_, bytes)) throw std::bad_alloc();
        populated_ = std::max(populated_, tail_ + bytes.size());
    } else {
        makeRoom(bytes.size());
        std::memcpy(start_ + tail_, bytes.data(), bytes.size());
    }
    tail_ += bytes.size();
}

void ByteBuffer::append(std::string_view text)
{
    append(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

void ByteBuffer::append(std::uint8_t byte)
{
    makeRoom(1);
    start_[tail_++] = byte;
}

std::span<std::uint8_t> ByteBuffer::prepare(std::size_t count)
{
    makeRoom(count);
    return {start_ + tail_, count};
}

void ByteBuffer::consume(std::size_t count)
{
    head_ += count;
    if (head_ == tail_) head_ = tail_ = 0;
}

Data ByteBuffer::take()
{
    ByteBuffer taken = std::move(*this);
    if (!taken.shared_) {
        const std::span<const std::uint8_t> content = taken.bytes();
        return {std::shared_ptr<const std::uint8_t>(std::move(taken.heap_)), content};
    }
    if (taken.empty()) return {};
    // What was reserved and not written goes back.
    taken.shared_->resize(taken.tail_);
    const bool isSealed = taken.shared_->seal();
    auto memory = std::make_shared<const SharedMemory>(*std::move(taken.shared_));
    const std::span<const std::uint8_t> content(memory->data() + taken.head_, taken.size());
    if (isSealed) return {std::move(memory), content};
    return {std::shared_ptr<const void>(std::move(memory)), content};
}

} // namespace korvane
