#include "server/ReceivedDocument.h"

#include <cerrno>
#include <new>
#include <utility>

namespace korvane {

namespace {

/** A document that is no longer than this is written when it is complete. */
constexpr std::size_t maxInMemory = std::size_t{1} << 20;

/** What is written at a time of a longer one, and what may wait for that. */
constexpr std::size_t writeSize = std::size_t{256} << 10;
constexpr std::size_t maxWaiting = 2 * writeSize;

/** In such steps is asked whether there is room for a document of unknown length. */
constexpr std::uint64_t roomStep = std::uint64_t{4} << 20;

} // namespace

ReceivedDocument::ReceivedDocument(std::shared_ptr<SerialQueue> queue, Queue& background,
                                   Spool& spool, std::shared_ptr<SpoolRoom> room,
                                   std::function<void()> onWritten)
    : queue_(std::move(queue)), background_(background), spool_(spool),
      onWritten_(std::move(onWritten)), room_(std::move(room))
{
}

void ReceivedDocument::expect(std::optional<std::uint64_t> length)
{
    isLengthKnown_ = length.has_value();
    if (!room_.grow(length.value_or(roomStep))) error_ = SystemError{ENOSPC};
    if (length) unwritten_.reserve(std::min<std::uint64_t>(*length, maxInMemory));
}

void ReceivedDocument::append(std::span<const std::uint8_t> bytes)
{
    if (error_) return;
    size_ += bytes.size();
    unwritten_.append(bytes);
    if (!isLengthKnown_ && room_.bytes() < bytesHeld() && !room_.grow(roomStep))
        error_ = SystemError{ENOSPC};
    if (unwritten_.size() >= (file_ ? writeSize : maxInMemory)) writeOut();
}

bool ReceivedDocument::isBusy() const
{
    return writing_ > 0 && unwritten_.size() >= maxWaiting;
}

bool ReceivedDocument::writeOut()
{
    if (writing_ > 0) return true;
    if (unwritten_.empty() || error_) return false;
    writing_ = unwritten_.size();
    const auto bytes = std::make_shared<ByteBuffer>(std::exchange(unwritten_, std::move(spare_)));
    background_.async(
        [weak = weak_from_this(), queue = queue_, &spool = spool_, file = file_, bytes] {
            queue->async([weak, bytes, written = write(spool, file, bytes->bytes())] {
                if (const auto self = weak.lock()) self->handleWritten(written, *bytes);
            });
        });
    return true;
}

ReceivedDocument::Written ReceivedDocument::write(const Spool& spool,
                                                  std::shared_ptr<SpoolFile> file,
                                                  std::span<const std::uint8_t> bytes)
{
    try {
        if (!file) {
            auto made = spool.makeFile();
            if (!made) return failure(made.error());
            file = std::make_shared<SpoolFile>(*std::move(made));
        }
        return file->output.write(bytes).map([&] { return file; });
    } catch (const std::bad_alloc&) {
        return failure(SystemError{ENOMEM});
    }
}

void ReceivedDocument::handleWritten(const Written& written, ByteBuffer& bytes)
{
    room_.shrink(std::exchange(writing_, 0));
    bytes.consume(bytes.size());
    spare_ = std::move(bytes);
    if (written) {
        file_ = *written;
    } else if (!error_) {
        error_ = written.error();
    }
    if (completion_) {
        const auto self = std::exchange(self_, nullptr);
        return deliver();
    }
    if (unwritten_.size() >= writeSize) writeOut();
    onWritten_();
}

void ReceivedDocument::finish(Completion completion)
{
    completion_ = std::move(completion);
    if (writing_ == 0) return deliver();
    self_ = shared_from_this(); // whoever received the document may drop it now
}

void ReceivedDocument::deliver()
{
    background_.async([completion = std::exchange(completion_, nullptr), error = error_,
                       &spool = spool_, file = file_, bytes = unwritten_.take(), size = size_] {
        if (error) return completion(failure(*error));
        completion(
            write(spool, file, bytes.bytes()).map([&](const std::shared_ptr<SpoolFile>& whole) {
                return DocumentFile{whole->descriptor, size};
            }));
    });
}

} // namespace korvane
