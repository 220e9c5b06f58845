#include "base/Data.h"

#include "base/ByteBuffer.h"

#include <algorithm>
#include <utility>

namespace korvane {

Data::Data(std::vector<std::uint8_t> bytes)
{
    auto storage = std::make_shared<const std::vector<std::uint8_t>>(std::move(bytes));
    bytes_ = *storage;
    owner_ = std::move(storage);
}

Data Data::copying(std::span<const std::uint8_t> bytes)
{
    return Data(std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
}

Data Data::copying(std::string_view text)
{
    return Data(std::vector<std::uint8_t>(text.begin(), text.end()));
}

std::string_view Data::text() const
{
    return {reinterpret_cast<const char*>(bytes_.data()), bytes_.size()};
}

Data Data::slice(std::size_t offset, std::size_t count) const
{
    const std::size_t start = std::min(offset, bytes_.size());
    Data sliced = *this;
    sliced.bytes_ = bytes_.subspan(start, std::min(count, bytes_.size() - start));
    return sliced;
}

bool operator==(const Data& left, const Data& right)
{
    return std::ranges::equal(left.bytes_, right.bytes_);
}

} // namespace korvane
