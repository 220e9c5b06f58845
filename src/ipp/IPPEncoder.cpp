#include "base/BigEndian.h"
#include "ipp/IPPCodec.h"
#include "text/Text.h"

#include <chrono>
#include <string_view>

namespace korvane::ipp {

namespace {

/** What a 16-bit length can say (RFC 8010 sections 3.6 and 3.8). */
constexpr std::size_t maxFieldLength = 65535;

/** The units of a resolution (RFC 8010 section 3.9). */
constexpr std::uint8_t dotsPerInch = 3;
constexpr std::uint8_t dotsPerCentimeter = 4;

void appendNumber(ByteBuffer& out, std::int32_t number)
{
    appendBigEndian<std::uint32_t>(out, static_cast<std::uint32_t>(number));
}

/** A text behind its length. */
void appendField(ByteBuffer& out, std::string_view text)
{
    const std::string_view fitting = text::prefixOfSequences(text, maxFieldLength);
    appendBigEndian<std::uint16_t>(out, static_cast<std::uint16_t>(fitting.size()));
    out.append(fitting);
}

/** A record up to its value, which is `length` bytes (RFC 8010 section 3.1.4). */
void appendRecordHead(ByteBuffer& out, IPPTag tag, std::string_view name, std::uint16_t length)
{
    out.append(rawValue(tag));
    appendField(out, name);
    appendBigEndian<std::uint16_t>(out, length);
}

void appendText(ByteBuffer& out, IPPTag tag, std::string_view name, std::string_view text)
{
    out.append(rawValue(tag));
    appendField(out, name);
    appendField(out, text);
}

/** Appends the records of one value; the name is empty where the value is not the first. */
class ValueEncoder {
public:
    ValueEncoder(ByteBuffer& out, std::string_view name) : out_(out), name_(name) {}

    void operator()(const Integer& value) const
    {
        appendRecordHead(out_, IPPTag::integer, name_, 4);
        appendNumber(out_, value.value);
    }

    void operator()(const Boolean& value) const
    {
        appendRecordHead(out_, IPPTag::boolean, name_, 1);
        out_.append(std::uint8_t{value.value});
    }

    void operator()(const EnumValue& value) const
    {
        appendRecordHead(out_, IPPTag::enumValue, name_, 4);
        appendNumber(out_, value.value);
    }

    void operator()(const RangeOfInteger& value) const
    {
        appendRecordHead(out_, IPPTag::rangeOfInteger, name_, 8);
        appendNumber(out_, value.lower);
        appendNumber(out_, value.upper);
    }

    void operator()(const Resolution& value) const
    {
        appendRecordHead(out_, IPPTag::resolution, name_, 9);
        appendNumber(out_, value.crossFeed);
        appendNumber(out_, value.feed);
        out_.append(value.perInch ? dotsPerInch : dotsPerCentimeter);
    }

    void operator()(const Text& value) const { appendText(out_, value.tag, name_, value.text); }

    /** In Coordinated Universal Time, as DateAndTime of RFC 2579 has it. */
    void operator()(const DateTime& value) const
    {
        const auto day = std::chrono::floor<std::chrono::days>(value.time);
        const std::chrono::year_month_day date(day);
        const std::chrono::hh_mm_ss clock(
            std::chrono::floor<std::chrono::seconds>(value.time - day));
        appendRecordHead(out_, IPPTag::dateTime, name_, 11);
        appendBigEndian<std::uint16_t>(out_, static_cast<std::uint16_t>(int{date.year()}));
        for (const auto field :
             {static_cast<long>(unsigned{date.month()}), static_cast<long>(unsigned{date.day()}),
              clock.hours().count(), clock.minutes().count(), clock.seconds().count(),
              long{0}, // tenths of a second
              long{'+'}, long{0}, long{0}}) {
            out_.append(static_cast<std::uint8_t>(field));
        }
    }

    /** A collection lies between two records of its own (RFC 8010 section 3.1.6). */
    void operator()(const Collection& value) const
    {
        appendRecordHead(out_, IPPTag::begCollection, name_, 0);
        for (const IPPMember& member : value.members) {
            appendText(out_, IPPTag::memberAttrName, "", member.name);
            std::visit(ValueEncoder(out_, ""), member.value);
        }
        appendRecordHead(out_, IPPTag::endCollection, "", 0);
    }

    void operator()(const NoValue& value) const { appendRecordHead(out_, value.tag, name_, 0); }

private:
    ByteBuffer& out_;
    std::string_view name_;
};

void appendAttribute(ByteBuffer& out, const IPPAttribute& attribute)
{
    std::string_view name = attribute.name;
    for (const IPPValue& value : attribute.values) {
        std::visit(ValueEncoder(out, name), value);
        name = {};
    }
}

} // namespace

Data encode(const IPPMessage& message)
{
    ByteBuffer out;
    out.append(message.versionMajor);
    out.append(message.versionMinor);
    appendBigEndian<std::uint16_t>(out, message.code);
    appendBigEndian<std::uint32_t>(out, message.requestID);
    for (const IPPAttributeGroup& group : message.groups) {
        out.append(rawValue(group.tag));
        for (const IPPAttribute& attribute : group.attributes) appendAttribute(out, attribute);
    }
    out.append(rawValue(IPPTag::endOfAttributes));
    out.append(message.documentData.bytes());
    return out.take();
}

} // namespace korvane::ipp
