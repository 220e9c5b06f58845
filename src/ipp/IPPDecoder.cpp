#include "base/BigEndian.h"
#include "ipp/IPPCodec.h"
#include "text/Text.h"

#include <fmt/format.h>

#include <optional>
#include <utility>

namespace korvane {

std::string IPPDecodeError::description() const
{
    if (const auto* invalid = std::get_if<InvalidTag>(&reason))
        return fmt::format("invalidTag({})", invalid->tag);
    if (const auto* invalid = std::get_if<InvalidStructure>(&reason))
        return fmt::format("invalidStructure(\"{}\")", invalid->detail);
    return "truncated";
}

namespace ipp {

namespace {

using Bytes = std::span<const std::uint8_t>;

/** The last byte that can be a delimiter; higher ones are value tags (RFC 8010 section 3.5). */
constexpr std::uint8_t lastDelimiter = 0x0F;

/** The unit byte of a resolution in dots per inch (RFC 8010 section 3.9). */
constexpr std::uint8_t dotsPerInch = 3;

auto truncated()
{
    return failure(IPPDecodeError{IPPDecodeError::Truncated{}});
}

auto invalidTag(std::uint8_t tag)
{
    return failure(IPPDecodeError{IPPDecodeError::InvalidTag{tag}});
}

auto invalidStructure(const char* detail)
{
    return failure(IPPDecodeError{IPPDecodeError::InvalidStructure{detail}});
}

std::int32_t signedNumber(Bytes bytes)
{
    return static_cast<std::int32_t>(bigEndian<std::uint32_t>(bytes));
}

/** The text of a value that names its language first: each behind its 16-bit length, and nothing
 *  behind them. Empty when it is anything else. */
Bytes textBehindLanguage(Bytes bytes)
{
    Bytes field;
    for (int fields = 0; fields < 2; ++fields) {
        if (bytes.size() < 2) return {};
        const std::size_t length = bigEndian<std::uint16_t>(bytes);
        bytes = bytes.subspan(2);
        if (bytes.size() < length) return {};
        field = bytes.first(length);
        bytes = bytes.subspan(length);
    }
    return bytes.empty() ? field : Bytes();
}

/** The value that the bytes of a record stand for (RFC 8010 section 3.9). */
Result<IPPValue, IPPDecodeError> decodeValue(IPPTag tag, Bytes bytes)
{
    switch (tag) {
    case IPPTag::unsupportedValue:
    case IPPTag::unknown:
    case IPPTag::noValue: return NoValue{};
    case IPPTag::integer:
        if (bytes.size() != 4) return invalidStructure("integer length");
        return Integer{signedNumber(bytes)};
    case IPPTag::enumValue:
        if (bytes.size() != 4) return invalidStructure("integer length");
        return EnumValue{signedNumber(bytes)};
    case IPPTag::boolean:
        if (bytes.size() != 1) return invalidStructure("boolean length");
        return Boolean{bytes[0] != 0};
    case IPPTag::resolution:
        if (bytes.size() != 9) return invalidStructure("resolution length");
        return Resolution{signedNumber(bytes), signedNumber(bytes.subspan(4)),
                          bytes[8] == dotsPerInch};
    case IPPTag::rangeOfInteger:
        if (bytes.size() != 8) return invalidStructure("range length");
        return RangeOfInteger{signedNumber(bytes), signedNumber(bytes.subspan(4))};
    case IPPTag::textWithLanguage:
        return Text{text::decodeUTF8(textBehindLanguage(bytes)), IPPTag::textWithoutLang};
    case IPPTag::nameWithLanguage:
        return Text{text::decodeUTF8(textBehindLanguage(bytes)), IPPTag::nameWithoutLang};
    default: return Text{text::decodeUTF8(bytes), tag};
    }
}

/** Reads one message from front to back (RFC 8010 section 3.1). */
class Decoder {
public:
    Decoder(const Data& bytes, std::size_t maxSectionSize)
        : bytes_(bytes), maxSectionSize_(maxSectionSize)
    {
    }

    Result<IPPMessage, IPPDecodeError> decode();

private:
    using Step = Result<void, IPPDecodeError>;

    Step readHeader();
    Step readGroups();
    Step openGroup(std::uint8_t tag);
    void closeGroup();
    Step readRecord(std::uint8_t tag);
    Result<Bytes, IPPDecodeError> readField();
    Result<Bytes, IPPDecodeError> readBytes(std::size_t count);
    void add(std::string name, IPPValue value);
    void finishAttribute();

    const Data& bytes_;
    const std::size_t maxSectionSize_;
    std::size_t position_ = 0;
    IPPMessage message_;
    std::optional<IPPAttributeGroup> group_;

    /** The attribute whose values are being read; further values may follow. */
    std::optional<IPPAttribute> pending_;
};

Result<IPPMessage, IPPDecodeError> Decoder::decode()
{
    if (Step header = readHeader(); !header) return failure(header.error());
    if (Step groups = readGroups(); !groups) return failure(groups.error());
    if (position_ < bytes_.size()) message_.documentData = bytes_.slice(position_);
    return std::move(message_);
}

Decoder::Step Decoder::readHeader()
{
    const auto header = readBytes(8);
    if (!header) return failure(header.error());
    message_.versionMajor = (*header)[0];
    message_.versionMinor = (*header)[1];
    message_.code = bigEndian<std::uint16_t>(header->subspan(2));
    message_.requestID = bigEndian<std::uint32_t>(header->subspan(4));
    return {};
}

Decoder::Step Decoder::readGroups()
{
    while (position_ < bytes_.size()) {
        if (position_ > maxSectionSize_) return invalidStructure("attributes length");
        const std::uint8_t tag = bytes_.bytes()[position_++];
        if (tag <= lastDelimiter) closeGroup();
        if (tag == rawValue(IPPTag::endOfAttributes)) return {};
        if (Step step = tag <= lastDelimiter ? openGroup(tag) : readRecord(tag); !step) return step;
    }
    return {};
}

/** Values ahead of the first group stay pending, and so end up in it. */
void Decoder::closeGroup()
{
    if (!group_) return;
    finishAttribute();
    message_.groups.push_back(*std::exchange(group_, std::nullopt));
}

Decoder::Step Decoder::openGroup(std::uint8_t tag)
{
    const auto known = makeIPPTag(tag);
    if (!known) return invalidTag(tag);
    group_ = IPPAttributeGroup{*known, {}};
    return {};
}

/** Reads a record behind its tag: an attribute's first value, or one more (section 3.1.5). */
Decoder::Step Decoder::readRecord(std::uint8_t tag)
{
    const auto known = makeIPPTag(tag);
    if (!known) return invalidTag(tag);
    const auto name = readField();
    if (!name) return failure(name.error());
    const auto bytes = readField();
    if (!bytes) return failure(bytes.error());
    auto value = decodeValue(*known, *bytes);
    if (!value) return failure(value.error());
    add(text::decodeUTF8(*name), *std::move(value));
    return {};
}

/** Bytes behind their 16-bit length. */
Result<Bytes, IPPDecodeError> Decoder::readField()
{
    return readBytes(2).and_then(
        [this](Bytes length) { return readBytes(bigEndian<std::uint16_t>(length)); });
}

Result<Bytes, IPPDecodeError> Decoder::readBytes(std::size_t count)
{
    const Bytes left = bytes_.bytes().subspan(position_);
    if (left.size() < count) return truncated();
    position_ += count;
    return left.first(count);
}

void Decoder::add(std::string name, IPPValue value)
{
    if (!name.empty() || !pending_) {
        finishAttribute();
        pending_ = IPPAttribute{std::move(name), {}};
    }
    pending_->values.push_back(std::move(value));
}

/** A finished attribute that belongs to no group is dropped. */
void Decoder::finishAttribute()
{
    if (pending_ && group_) group_->attributes.push_back(*std::move(pending_));
    pending_.reset();
}

} // namespace

Result<IPPMessage, IPPDecodeError> decode(const Data& bytes, std::size_t maxSectionSize)
{
    return Decoder(bytes, maxSectionSize).decode();
}

} // namespace ipp

} // namespace korvane
