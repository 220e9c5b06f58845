#include "server/JoinedDocument.h"

#include "base/FileWriting.h"

#include <unistd.h>

#include <cstdint>
#include <tuple>
#include <utility>

namespace korvane {

Result<bool, SystemError> JoinedDocument::append(const DocumentFile& document)
{
    const std::scoped_lock lock(mutex_);
    if (isTaken_) return false;
    if (!joined_.file) {
        joined_ = document;
        return true;
    }
    const int target = joined_.file->get();
    const auto end = static_cast<off_t>(joined_.length);
    if (::lseek(target, end, SEEK_SET) != end) return failure(SystemError::last());
    const auto copied = copyBytes(document.file->get(), document.length, target);
    if (!copied) {
        std::ignore = ::ftruncate(target, end);
        return failure(copied.error());
    }
    joined_.length += document.length;
    return true;
}

DocumentFile JoinedDocument::take()
{
    const std::scoped_lock lock(mutex_);
    isTaken_ = true;
    return std::exchange(joined_, {});
}

} // namespace korvane
