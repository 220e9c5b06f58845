#include "platform/wire/WireReader.h"

#include "platform/base/SealedBytes.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace korvane {

WireReader::WireReader(WorkerMessage message)
    : rest_(std::move(message.payload)), descriptors_(std::move(message.descriptors))
{
    // They are handed out from the back.
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

std::uint64_t WireReader::number(std::size_t size)
{
    const Data bytes = take(size);
    std::uint64_t value = 0;
    for (std::size_t i = bytes.size(); i-- > 0;) value = value << 8 | bytes.bytes()[i];
    return value;
}

std::uint8_t WireReader::u8()
{
    return static_cast<std::uint8_t>(number(1));
}

std::uint16_t WireReader::u16()
{
    return static_cast<std::uint16_t>(number(2));
}

std::uint32_t WireReader::u32()
{
    return static_cast<std::uint32_t>(number(4));
}

std::uint64_t WireReader::u64()
{
    return number(8);
}

std::int32_t WireReader::i32()
{
    return static_cast<std::int32_t>(u32());
}

double WireReader::f64()
{
    return std::bit_cast<double>(number(8));
}

bool WireReader::boolean()
{
    const std::uint8_t value = u8();
    if (value > 1) fail();
    return !failed_ && value == 1;
}

std::string WireReader::string()
{
    return std::string(data().text());
}

Data WireReader::data()
{
    return take(count());
}

Data WireReader::document()
{
    SealedBytes sealed{.offset = u64(), .length = u64()};
    sealed.file = descriptor();
    if (failed_) return {};
    Result<Data, SystemError> mapped = mapSealedBytes(sealed);
    if (!mapped) fail();
    return std::move(mapped).value_or(Data());
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
