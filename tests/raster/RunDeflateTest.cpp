#include "raster/RunDeflate.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace korvane {

namespace {

using Bytes = std::vector<std::uint8_t>;

/** What zlib reads from the stream, which has to end with its last byte. */
Bytes inflated(const ByteBuffer& stream, std::size_t size)
{
    Bytes bytes(size + 1);
    uLongf used = bytes.size();
    uLong read = stream.size();
    EXPECT_EQ(uncompress2(bytes.data(), &used, stream.bytes().data(), &read), Z_OK);
    EXPECT_EQ(read, stream.size());
    bytes.resize(used);
    return bytes;
}

Bytes made(std::size_t size, double deviation)
{
    Bytes bytes(size);
    std::mt19937 random(3); // NOLINT: the same bytes in every run
    std::normal_distribution value(0.0, deviation);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(std::lround(value(random)));
    return bytes;
}

/** Values each of which is 1.6 times as frequent as the next: the best code has 24 bits. */
Bytes rareValues()
{
    Bytes bytes;
    for (double count = 20000; count >= 1; count /= 1.6)
        bytes.insert(bytes.end(), static_cast<std::size_t>(count),
                     static_cast<std::uint8_t>(static_cast<unsigned>(count)));
    std::shuffle(bytes.begin(), bytes.end(), std::mt19937(3)); // NOLINT: as above
    return bytes;
}

/** A run of every length up to 1000, with another byte between them. */
Bytes runs()
{
    Bytes bytes;
    for (std::size_t length = 1; length < 1000; ++length) {
        bytes.insert(bytes.end(), length, 7);
        bytes.push_back(9);
    }
    return bytes;
}

} // namespace

TEST(RunDeflate, MakesStreamsThatZlibReadsAndThatAreSmall)
{
    const struct {
        std::string name;
        Bytes bytes;
        std::size_t maxSize;
    } cases[] = {
        {"nothing", {}, 11},
        {"one byte", {1}, 12},
        {"two runs", Bytes(300, 5), 200},
        {"runs of all lengths", runs(), 12000},
        {"a block", made(65535, 1000), 65551},
        {"a block and a byte", made(65536, 1000), 65557},
        {"noise", made(1000000, 1000), 1000090},
        {"zeros", Bytes(10000000, 0), 60000},
        // 4.05 bits each is the entropy of this normal distribution.
        {"differences within a photograph", made(1000000, 4), 516000},
        {"values of very different frequency", rareValues(), 18000},
    };
    for (const auto& [name, bytes, maxSize] : cases) {
        SCOPED_TRACE(name);
        ByteBuffer stream;
        stream.append("before");
        rundeflate::compress(bytes, stream);
        stream.consume(6);
        EXPECT_TRUE(inflated(stream, bytes.size()) == bytes);
        EXPECT_LE(stream.size(), maxSize);
    }
}

} // namespace korvane
