#include "platform/wire/WireWriter.h"

#include <array>
#include <bit>
#include <span>
#include <utility>

namespace korvane {

namespace {

template <typename Number>
void append(ByteBuffer& out, Number number)
{
    std::array<std::uint8_t, sizeof(Number)> bytes{};
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(number);
        number = static_cast<Number>(std::uint64_t{number} >> 8);
    }
    out.append(bytes);
}

} // namespace

void WireWriter::u8(std::uint8_t number)
{
    bytes_.append(number);
}

void WireWriter::u16(std::uint16_t number)
{
    append(bytes_, number);
}

void WireWriter::u32(std::uint32_t number)
{
    append(bytes_, number);
}

void WireWriter::u64(std::uint64_t number)
{
    append(bytes_, number);
}

void WireWriter::i32(std::int32_t number)
{
    append(bytes_, static_cast<std::uint32_t>(number));
}

void WireWriter::f64(double number)
{
    append(bytes_, std::bit_cast<std::uint64_t>(number));
}

void WireWriter::boolean(bool value)
{
    u8(value ? 1 : 0);
}

void WireWriter::string(std::string_view text)
{
    count(text.size());
    bytes_.append(text);
}

void WireWriter::data(const Data& bytes)
{
    count(bytes.size());
    bytes_.append(bytes.bytes());
}

void WireWriter::count(std::size_t elements)
{
    u64(elements);
}

void WireWriter::document(SealedBytes bytes)
{
    u64(bytes.offset);
    u64(bytes.length);
    descriptor(std::move(bytes.file));
}

void WireWriter::descriptor(SharedDescriptor file)
{
    descriptors_.push_back(std::move(file));
}

WorkerMessage WireWriter::message(std::uint16_t code)
{
    return {.code = code, .payload = bytes_.take(), .descriptors = std::exchange(descriptors_, {})};
}

} // namespace korvane
