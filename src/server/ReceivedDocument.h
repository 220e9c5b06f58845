#pragma once

#include "base/ByteBuffer.h"
#include "base/DescriptorOutput.h"
#include "base/DocumentFile.h"
#include "base/Result.h"
#include "base/SystemError.h"
#include "event/Queue.h"
#include "server/SpoolRoom.h"
#include "spool/Spool.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>

namespace korvane {

/** A file of the spool that is written from its start to its end, by one thread at a time. */
struct SpoolFile {
    explicit SpoolFile(FileDescriptor file) : descriptor(share(std::move(file))) {}

    SharedDescriptor descriptor;
    DescriptorOutput output{descriptor->get()};
};

/**
 * A document while it arrives: in memory as long as it is small, then in a file of the spool, which
 * is written in the background, so that a slow disk holds up nobody but this client. Used on the
 * server's queue only; dropping it drops the document.
 */
class ReceivedDocument : public std::enable_shared_from_this<ReceivedDocument> {
public:
    /** Called in the background. */
    using Completion = std::function<void(Result<DocumentFile, SystemError>)>;

    /** Everything outlives the document. `onWritten` is called after each write. */
    ReceivedDocument(std::shared_ptr<SerialQueue> queue, Queue& background, Spool& spool,
                     std::shared_ptr<SpoolRoom> room, std::function<void()> onWritten);

    /** Says how long the document will be, if that is known. */
    void expect(std::optional<std::uint64_t> length);

    void append(std::span<const std::uint8_t> bytes);

    /** Why the document cannot be taken any more: ENOSPC when the spool has no room for it. */
    const std::optional<SystemError>& error() const { return error_; }

    /** Whether the disk should catch up first. */
    bool isBusy() const;

    /** Writes what is in memory, however little that is; false if nothing is being written. */
    bool writeOut();

    std::size_t bytesHeld() const { return unwritten_.size() + writing_; }

    std::uint64_t size() const { return size_; }

    /** Gives the document once all of it is in its file. Nothing else is called afterwards. */
    void finish(Completion completion);

private:
    using Written = Result<std::shared_ptr<SpoolFile>, SystemError>;

    static Written write(const Spool& spool, std::shared_ptr<SpoolFile> file,
                         std::span<const std::uint8_t> bytes);
    void handleWritten(const Written& written, ByteBuffer& bytes);
    void deliver();

    const std::shared_ptr<SerialQueue> queue_;
    Queue& background_;
    Spool& spool_;
    const std::function<void()> onWritten_;
    SpoolRoom::Share room_;
    bool isLengthKnown_ = false;
    std::uint64_t size_ = 0;
    ByteBuffer unwritten_;
    /** Empty, of what was written before: its memory is used again. */
    ByteBuffer spare_;
    /** How many bytes are being written. */
    std::size_t writing_ = 0;
    std::shared_ptr<SpoolFile> file_;
    std::optional<SystemError> error_;
    Completion completion_;
    /** Itself, while the last writes are waited for. */
    std::shared_ptr<ReceivedDocument> self_;
};

} // namespace korvane
