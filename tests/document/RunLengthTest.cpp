#include "document/RunLength.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

namespace korvane {

TEST(RunLength, GivesBackAnyMixOfRunsWithinItsBound)
{
    std::mt19937 random(3); // NOLINT: the same runs in every run
    for (int round = 0; round < 5000; ++round) {
        std::vector<std::uint8_t> bytes;
        const std::size_t longest = std::array<std::size_t, 3>{4, 10, 300}.at(random() % 3);
        for (std::size_t runs = random() % 20; runs > 0; --runs) {
            bytes.insert(bytes.end(), random() % longest, static_cast<std::uint8_t>(random() % 3));
        }
        // No byte more than the bound promises, so that a sanitizer sees a write behind it.
        std::vector<std::uint8_t> coded(runlength::bound(bytes.size()));
        coded.resize(runlength::encode(bytes, coded));
        ByteBuffer decoded;
        runlength::decode(coded, decoded);
        ASSERT_EQ(decoded.take(), Data(bytes)) << "round " << round;
    }
}

} // namespace korvane
