#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace korvane {

/** The Huffman code of the literals and lengths of a deflate block (RFC 1951, section 3.2). */
class HuffmanCode {
public:
    static constexpr std::size_t symbolCount = 286;
    /** In bits; deflate allows 15, and shorter ones are faster to write. */
    static constexpr std::size_t maxLength = 12;

    using Frequencies = std::array<std::uint32_t, symbolCount>;

    /** The best code of `maxLength` for symbols that are this frequent, at least two of them. */
    explicit HuffmanCode(const Frequencies& frequencies);

    struct Code {
        /** As they are written, the one that is read first lowest. */
        std::uint16_t bits = 0;
        /** In bits; 0 for symbols that are not used. */
        std::uint16_t length = 0;
    };

    const Code& operator[](std::size_t symbol) const { return codes_[symbol]; }

private:
    /** How many codes there are of each length. */
    using LengthCounts = std::array<std::size_t, maxLength + 1>;

    static LengthCounts countLengths(std::span<const std::uint32_t> sortedFrequencies);
    void assignBits(const LengthCounts& counts);

    std::array<Code, symbolCount> codes_{};
};

} // namespace korvane
