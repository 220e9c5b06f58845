#include "ipp/ByteReader.h"

#include <gtest/gtest.h>

namespace korvane {
namespace {

TEST(ByteReader, ReadsBigEndianNumbersOneAfterTheOther)
{
    ByteReader reader(Data({0x01, 0x02, 0x03, 0x84, 0x05, 0x06, 0x07, 0x08}));
    EXPECT_EQ(reader.readUInt8(), 0x01);
    EXPECT_EQ(reader.readUInt16(), 0x0203);
    EXPECT_EQ(reader.readUInt32(), 0x84050607U);
    EXPECT_EQ(reader.readRemaining(), Data({0x08}));
    EXPECT_TRUE(reader.atEnd());
    EXPECT_TRUE(reader.readRemaining().empty());
}

TEST(ByteReader, StaysWhereItIsWhenTooLittleIsLeft)
{
    const IPPDecodeError truncated{IPPDecodeError::Truncated{}};
    ByteReader reader(Data({0x01, 0x02, 0x03}));
    EXPECT_EQ(reader.readUInt32(), failure(truncated));
    EXPECT_FALSE(reader.readBytes(4));
    EXPECT_EQ(reader.readUInt16(), 0x0102);
    EXPECT_EQ(reader.readUInt16(), failure(truncated));
    EXPECT_EQ(reader.readUInt8(), 0x03);
    EXPECT_EQ(reader.readUInt8(), failure(truncated));
    EXPECT_TRUE(reader.readBytes(0));
}

} // namespace
} // namespace korvane
