#include "workerpool/WireReader.h"

#include <algorithm>
#include <utility>

namespace korvane {

WireReader::WireReader(WorkerMessage message)
    : rest_(std::move(message.payload)), descriptors_(std::move(message.descriptors))
{
    // They are read from the back.
    std::ranges::reverse(descriptors_);
}

void WireReader::fail()
{
    failed_ = true;
    rest_ = {};
    descriptors_.clear();
}

Data WireReader::take(std::size_t count)
{
    if (count > rest_.size()) fail();
    if (failed_) return {};
    return std::exchange(rest_, rest_.slice(count)).slice(0, count);
}

bool WireReader::boolean()
{
    const std::uint8_t value = u8();
    if (value > 1) fail();
    return !failed_ && value == 1;
}

std::string WireReader::string()
{
    return std::string(take(count()).text());
}

DocumentFile WireReader::document()
{
    DocumentFile document{.length = u64()};
    document.file = descriptor();
    return failed_ ? DocumentFile() : document;
}

SharedDescriptor WireReader::descriptor()
{
    if (descriptors_.empty()) fail();
    if (failed_) return {};
    SharedDescriptor file = std::move(descriptors_.back());
    descriptors_.pop_back();
    return file;
}

std::size_t WireReader::count(std::size_t elementSize)
{
    const std::uint64_t elements = u64();
    if (elements > rest_.size() / std::max<std::size_t>(elementSize, 1)) fail();
    return failed_ ? 0 : elements;
}

} // namespace korvane
