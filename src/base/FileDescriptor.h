#pragma once

#include <memory>
#include <utility>

namespace korvane {

/** An open file descriptor, closed by its owner's end. */
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1))
    {
    }
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor();

    int get() const { return descriptor_; }
    explicit operator bool() const { return descriptor_ >= 0; }

private:
    int descriptor_ = -1;
};

/** A descriptor that several use; the last of them closes it. */
using SharedDescriptor = std::shared_ptr<const FileDescriptor>;

inline SharedDescriptor share(FileDescriptor descriptor)
{
    return std::make_shared<const FileDescriptor>(std::move(descriptor));
}

/** Allows this process as many open descriptors as it may allow itself, up to 65,536. Sessions
 *  begin with 1024 for the sake of select(2), which nothing here uses. */
void raiseDescriptorLimit();

} // namespace korvane
