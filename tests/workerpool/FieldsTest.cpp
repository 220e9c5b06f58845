#include "workerpool/FieldReader.h"
#include "workerpool/WireWriter.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace korvane {
namespace {

struct Leaf {
    std::int32_t number = 0;
};

void fields(auto& coder, FieldsOf<Leaf> auto& leaf)
{
    coder.number(leaf.number, -5, 5);
}

TEST(Fields, MakeNoRoomForElementsThatAreOnlyAnnounced)
{
    WireWriter out;
    out.count(1'000);
    for (int byte = 0; byte < 1'000; ++byte) out.u8(0);
    WireReader in(out.message());
    FieldReader coder(in);
    std::vector<Leaf> leaves;
    coder.list(leaves, 1'000'000);
    EXPECT_TRUE(in.failed());
    EXPECT_LE(leaves.size(), 251U);
}

} // namespace
} // namespace korvane
