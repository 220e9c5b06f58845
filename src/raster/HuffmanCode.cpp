#include "raster/HuffmanCode.h"

#include <algorithm>
#include <vector>

namespace korvane {

HuffmanCode::HuffmanCode(const Frequencies& frequencies)
{
    std::vector<std::size_t> symbols;
    for (std::size_t symbol = 0; symbol < symbolCount; ++symbol) {
        if (frequencies[symbol] > 0) symbols.push_back(symbol);
    }
    std::ranges::stable_sort(symbols, {}, [&](std::size_t symbol) { return frequencies[symbol]; });
    std::vector<std::uint32_t> sorted;
    for (const std::size_t symbol : symbols) sorted.push_back(frequencies[symbol]);

    const LengthCounts counts = countLengths(sorted);
    auto next = symbols.begin();
    for (std::size_t length = maxLength; length > 0; --length) {
        for (std::size_t i = 0; i < counts[length]; ++i)
            codes_[*next++].length = static_cast<std::uint16_t>(length);
    }
    assignBits(counts);
}

HuffmanCode::LengthCounts
HuffmanCode::countLengths(std::span<const std::uint32_t> sortedFrequencies)
{
    // Leaves, and behind them the nodes in the order in which they are joined: both are sorted.
    const std::size_t leaves = sortedFrequencies.size();
    std::vector<std::uint64_t> weights(sortedFrequencies.begin(), sortedFrequencies.end());
    std::vector<std::size_t> parents(2 * leaves - 1);
    std::size_t leaf = 0;
    std::size_t node = leaves;
    const auto takeLightest = [&] {
        const bool isLeaf =
            leaf < leaves && (node == weights.size() || weights[leaf] <= weights[node]);
        return isLeaf ? leaf++ : node++;
    };
    while (weights.size() < parents.size()) {
        const std::size_t first = takeLightest();
        const std::size_t second = takeLightest();
        parents[first] = parents[second] = weights.size();
        weights.push_back(weights[first] + weights[second]);
    }

    std::vector<std::size_t> depths(parents.size());
    LengthCounts counts{};
    for (std::size_t i = parents.size() - 1; i-- > 0;) {
        depths[i] = depths[parents[i]] + 1;
        if (i < leaves) ++counts[std::min(depths[i], maxLength)];
    }
    // Codes that were cut to the longest length take more room than there is, counted in codes of
    // that length: one of them and a shorter one become two that are a bit longer than that.
    std::size_t room = 0;
    for (std::size_t length = 1; length <= maxLength; ++length)
        room += counts[length] << (maxLength - length);
    for (; room > std::size_t{1} << maxLength; --room) {
        std::size_t length = maxLength - 1;
        while (counts[length] == 0) --length;
        --counts[maxLength];
        --counts[length];
        counts[length + 1] += 2;
    }
    return counts;
}

void HuffmanCode::assignBits(const LengthCounts& counts)
{
    std::array<std::uint32_t, maxLength + 2> next{};
    for (std::size_t length = 1; length <= maxLength; ++length)
        next[length + 1] = (next[length] + static_cast<std::uint32_t>(counts[length])) << 1;
    for (Code& code : codes_) {
        std::uint32_t number = next[code.length]++;
        std::uint32_t reversed = 0;
        for (std::size_t i = 0; i < code.length; ++i, number >>= 1)
            reversed = reversed << 1 | (number & 1);
        code.bits = static_cast<std::uint16_t>(reversed);
    }
}

} // namespace korvane
