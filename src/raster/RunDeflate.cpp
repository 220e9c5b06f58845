#include "raster/RunDeflate.h"

#include "lib/deflate/Adler32.h"
#include "raster/HuffmanCode.h"
#include "raster/RunLength.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <vector>

namespace korvane::rundeflate {

namespace {

using Bytes = std::span<const std::uint8_t>;

/** As many bytes as a stored block can have. */
constexpr std::size_t blockSize = 65535;
constexpr std::size_t storedHeaderSize = 5;

constexpr std::size_t endOfBlock = 256;
constexpr std::size_t minMatch = 3;
constexpr std::size_t maxMatch = 258;

/** Bytes of a block, and how often the last of them is repeated: 0 or what one match can be. */
struct Segment {
    std::size_t literals = 0;
    std::size_t repeats = 0;
};

/** The symbol of a match's length, and the bits that follow it. */
struct LengthSymbol {
    std::size_t symbol = 285;
    std::size_t extraBits = 0;
    std::uint64_t extra = 0;
};

LengthSymbol lengthSymbol(std::size_t length)
{
    if (length == maxMatch) return {};
    const std::size_t rest = length - minMatch;
    const auto width = static_cast<std::size_t>(std::bit_width(rest));
    const std::size_t extraBits = std::max<std::size_t>(width, 3) - 3;
    return {257 + 4 * extraBits + (rest >> extraBits), extraBits,
            rest & ((std::uint64_t{1} << extraBits) - 1)};
}

/** Writes bits, the lowest first. The room has eight bytes more than are written. */
class BitWriter {
public:
    explicit BitWriter(std::uint8_t* room) : begin_(room), position_(room) {}

    /** At most 56 bits between two calls of `flush`. */
    void put(std::uint64_t bits, std::size_t count)
    {
        pending_ |= bits << pendingCount_;
        pendingCount_ += count;
    }

    void put(HuffmanCode::Code code) { put(code.bits, code.length); }

    void flush()
    {
        static_assert(std::endian::native == std::endian::little);
        std::memcpy(position_, &pending_, sizeof pending_);
        const std::size_t whole = pendingCount_ / 8;
        position_ += whole;
        pending_ >>= 8 * whole;
        pendingCount_ %= 8;
    }

    void fillByte()
    {
        pendingCount_ = (pendingCount_ + 7) / 8 * 8;
        flush();
    }

    /** Behind a whole byte. */
    void put(Bytes bytes) { position_ = std::ranges::copy(bytes, position_).out; }

    std::size_t size() const { return static_cast<std::size_t>(position_ - begin_); }

private:
    std::uint8_t* begin_;
    std::uint8_t* position_;
    std::uint64_t pending_ = 0;
    std::size_t pendingCount_ = 0;
};

/** Codes the blocks of one stream. */
class BlockCoder {
public:
    explicit BlockCoder(std::uint8_t* room) : out_(room) {}

    void put(Bytes block, bool isLast);
    BitWriter& out() { return out_; }

private:
    void findSegments(Bytes block);
    void countSymbols(Bytes block);
    std::size_t codedBits(const HuffmanCode& code) const;
    void putStored(Bytes block, bool isLast);
    void putCoded(Bytes block, bool isLast, const HuffmanCode& code);
    void putLiterals(Bytes literals, const HuffmanCode& code);

    BitWriter out_;
    std::vector<Segment> segments_;
    HuffmanCode::Frequencies frequencies_{};
};

/** Three bits, the numbers of codes, and the lengths of 19 length codes, all literal and length
 *  codes and two distance codes. */
constexpr std::size_t codedHeaderBits = 3 + 14 + 19 * 3 + (HuffmanCode::symbolCount + 2) * 4;

void BlockCoder::put(Bytes block, bool isLast)
{
    findSegments(block);
    countSymbols(block);
    const HuffmanCode code(frequencies_);
    if (codedBits(code) < 8 * block.size()) {
        putCoded(block, isLast, code);
    } else {
        putStored(block, isLast);
    }
}

void BlockCoder::findSegments(Bytes block)
{
    segments_.clear();
    const std::uint8_t* const end = block.data() + block.size();
    const std::uint8_t* next = block.data();
    for (const std::uint8_t* position = next; position != end;) {
        const std::uint8_t* const run = runlength::nextRun(position, end);
        if (run == end) break;
        position = run + runlength::runAt(run, end);
        for (auto repeats = static_cast<std::size_t>(position - run) - 1; repeats >= minMatch;) {
            const std::size_t match = std::min(repeats, maxMatch);
            const std::uint8_t* const literalsEnd = std::max(next, run + 1);
            segments_.push_back({static_cast<std::size_t>(literalsEnd - next), match});
            next = literalsEnd + match;
            repeats -= match;
        }
    }
    segments_.push_back({static_cast<std::size_t>(end - next), 0});
}

void BlockCoder::countSymbols(Bytes block)
{
    frequencies_.fill(0);
    frequencies_[endOfBlock] = 1;
    // Four tables in turn, so that equal neighbors need not wait for each other.
    std::array<std::array<std::uint32_t, 256>, 4> tables{};
    for (const Segment& segment : segments_) {
        const Bytes literals = block.first(segment.literals);
        std::size_t i = 0;
        for (; i + 4 <= literals.size(); i += 4) {
            for (std::size_t k = 0; k < 4; ++k) ++tables[k][literals[i + k]];
        }
        for (; i < literals.size(); ++i) ++tables[0][literals[i]];
        if (segment.repeats > 0) ++frequencies_[lengthSymbol(segment.repeats).symbol];
        block = block.subspan(segment.literals + segment.repeats);
    }
    for (std::size_t value = 0; value < 256; ++value) {
        for (const auto& table : tables) frequencies_[value] += table[value];
    }
}

std::size_t BlockCoder::codedBits(const HuffmanCode& code) const
{
    std::size_t bits = codedHeaderBits;
    for (std::size_t symbol = 0; symbol < frequencies_.size(); ++symbol)
        bits += frequencies_[symbol] * code[symbol].length;
    for (const Segment& segment : segments_) {
        if (segment.repeats > 0) bits += lengthSymbol(segment.repeats).extraBits + 1;
    }
    return bits;
}

void BlockCoder::putStored(Bytes block, bool isLast)
{
    out_.put(isLast ? 1 : 0, 3);
    out_.fillByte();
    out_.put(block.size() | (~block.size() & 0xFFFF) << 16, 32);
    out_.flush();
    out_.put(block);
}

void BlockCoder::putCoded(Bytes block, bool isLast, const HuffmanCode& code)
{
    out_.put((isLast ? 1 : 0) | 2 << 1, 3);
    out_.put(HuffmanCode::symbolCount - 257, 5);
    out_.put(2 - 1, 5);
    out_.put(19 - 4, 4);
    out_.flush();
    // Lengths are written as they are, in four bits: the three codes for repeated ones come first,
    // and are not used.
    out_.put(0, 3 * 3);
    for (std::size_t i = 3; i < 19; ++i) {
        out_.put(4, 3);
        out_.flush();
    }
    const auto putLength = [&](std::size_t length) {
        constexpr std::array<std::uint8_t, 16> reversed = {0, 8, 4, 12, 2, 10, 6, 14,
                                                           1, 9, 5, 13, 3, 11, 7, 15};
        out_.put(reversed[length], 4);
        out_.flush();
    };
    for (std::size_t symbol = 0; symbol < HuffmanCode::symbolCount; ++symbol)
        putLength(code[symbol].length);
    // A distance of one is all that there is; with a second code the set is complete.
    putLength(1);
    putLength(1);

    for (const Segment& segment : segments_) {
        putLiterals(block.first(segment.literals), code);
        if (segment.repeats > 0) {
            const LengthSymbol length = lengthSymbol(segment.repeats);
            out_.put(code[length.symbol]);
            out_.put(length.extra, length.extraBits);
            out_.put(0, 1);
            out_.flush();
        }
        block = block.subspan(segment.literals + segment.repeats);
    }
    out_.put(code[endOfBlock]);
    out_.flush();
}

void BlockCoder::putLiterals(Bytes literals, const HuffmanCode& code)
{
    BitWriter out = out_;
    std::size_t i = 0;
    static_assert(4 * HuffmanCode::maxLength + 7 <= 56);
    for (; i + 4 <= literals.size(); i += 4) {
        for (std::size_t k = 0; k < 4; ++k) out.put(code[literals[i + k]]);
        out.flush();
    }
    for (; i < literals.size(); ++i) {
        out.put(code[literals[i]]);
        out.flush();
    }
    out_ = out;
}

} // namespace

void compress(Bytes input, ByteBuffer& output)
{
    const std::uint32_t checksum = adler32(input);
    const std::size_t blocks = input.size() / blockSize + 1;
    const std::span<std::uint8_t> room =
        output.prepare(input.size() + blocks * (storedHeaderSize + 1) + 16);
    BlockCoder coder(room.data());
    coder.out().put(0x78 | 0x01 << 8, 16);
    for (std::size_t left = blocks; left > 0; --left) {
        const Bytes block = input.first(std::min(blockSize, input.size()));
        coder.put(block, left == 1);
        input = input.subspan(block.size());
    }
    coder.out().fillByte();
    std::array<std::uint8_t, 4> ending{};
    for (std::size_t i = 0; i < 4; ++i)
        ending[i] = static_cast<std::uint8_t>(checksum >> (24 - 8 * i));
    coder.out().put(ending);
    output.commit(coder.out().size());
}

} // namespace korvane::rundeflate
