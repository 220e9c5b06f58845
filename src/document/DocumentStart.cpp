#include "document/DocumentStart.h"

#include "base/Files.h"
#include "ipp/DocumentFormat.h"

#include <algorithm>
#include <cstdint>

namespace korvane {

namespace {

constexpr std::uint64_t maxFirstBytes = 8;

} // namespace

Result<Data, SystemError> firstBytes(const DocumentFile& document)
{
    return readAt(document.file->get(), 0, std::min(document.length, maxFirstBytes));
}

bool beginsLikePDF(const DocumentFile& document)
{
    const auto start = firstBytes(document);
    return start && start->text().starts_with(documentFormats.front().magic);
}

} // namespace korvane
