#include "raster/RunLength.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace korvane::runlength {

namespace {

constexpr std::ptrdiff_t maxRun = 128;

std::uint8_t* putLiterals(const std::uint8_t* begin, const std::uint8_t* end, std::uint8_t* out)
{
    while (begin != end) {
        const std::ptrdiff_t count = std::min(end - begin, maxRun);
        *out++ = static_cast<std::uint8_t>(count - 1);
        out = std::copy_n(begin, count, out);
        begin += count;
    }
    return out;
}

} // namespace

std::ptrdiff_t runAt(const std::uint8_t* begin, const std::uint8_t* end)
{
    static_assert(std::endian::native == std::endian::little);
    const std::uint8_t* position = begin + 1;
    const std::uint64_t pattern = *begin * UINT64_C(0x0101010101010101);
    for (; end - position >= 8; position += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, position, sizeof word);
        if (word != pattern) return position - begin + std::countr_zero(word ^ pattern) / 8;
    }
    while (position != end && *position == *begin) ++position;
    return position - begin;
}

const std::uint8_t* nextRun(const std::uint8_t* position, const std::uint8_t* end)
{
    static_assert(std::endian::native == std::endian::little);
    constexpr std::uint64_t ones = UINT64_C(0x0101010101010101);
    const auto word = [](const std::uint8_t* bytes) {
        std::uint64_t value = 0;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    };
    // Eight places at once: a byte of `differing` is zero where a run begins.
    for (; end - position >= 10; position += 8) {
        const std::uint64_t second = word(position + 1);
        const std::uint64_t differing = (word(position) ^ second) | (second ^ word(position + 2));
        const std::uint64_t zeros = (differing - ones) & ~differing & ones << 7;
        if (zeros != 0) return position + std::countr_zero(zeros) / 8;
    }
    for (; end - position >= 3; ++position) {
        if (position[0] == position[1] && position[1] == position[2]) return position;
    }
    return end;
}

std::size_t encode(std::span<const std::uint8_t> bytes, std::span<std::uint8_t> room)
{
    const std::uint8_t* position = bytes.data();
    const std::uint8_t* const end = position + bytes.size();
    std::uint8_t* out = room.data();
    while (position != end) {
        const std::uint8_t* run = nextRun(position, end);
        out = putLiterals(position, run, out);
        position = run;
        if (run == end) break;
        // What is left of a long run and too short to be one becomes literal bytes.
        for (std::ptrdiff_t left = runAt(run, end); left >= 3;) {
            const std::ptrdiff_t count = std::min(left, maxRun);
            *out++ = static_cast<std::uint8_t>(257 - count);
            *out++ = *run;
            left -= count;
            position += count;
        }
    }
    return static_cast<std::size_t>(out - room.data());
}

void decode(std::span<const std::uint8_t>& coded, std::span<std::uint8_t> bytes)
{
    while (!bytes.empty()) {
        const std::size_t code = coded[0];
        const bool literal = code < endOfData;
        const std::size_t count = literal ? code + 1 : 257 - code;
        if (literal) {
            std::memcpy(bytes.data(), &coded[1], count);
        } else {
            std::memset(bytes.data(), coded[1], count);
        }
        bytes = bytes.subspan(count);
        coded = coded.subspan(literal ? 1 + count : 2);
    }
}

} // namespace korvane::runlength
