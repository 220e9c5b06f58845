#include "document/DocumentStart.h"

#include "ipp/DocumentFormat.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <span>

namespace korvane {

namespace {

constexpr std::uint64_t maxFirstBytes = 8;

} // namespace

Result<Data, SystemError> firstBytes(const DocumentFile& document)
{
    std::array<std::uint8_t, maxFirstBytes> bytes{};
    const std::size_t wanted = std::min(document.length, maxFirstBytes);
    std::size_t read = 0;
    while (read < wanted) {
        const ssize_t count =
            ::pread(document.file->get(), &bytes.at(read), wanted - read, static_cast<off_t>(read));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return failure(SystemError::last());
        if (count == 0) return failure(SystemError{EIO});
        read += static_cast<std::size_t>(count);
    }
    return Data::copying(std::span(bytes).first(wanted));
}

bool beginsLikePDF(const DocumentFile& document)
{
    const auto start = firstBytes(document);
    return start && start->text().starts_with(documentFormats.front().magic);
}

} // namespace korvane
