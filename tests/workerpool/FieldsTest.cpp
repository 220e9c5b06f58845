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

TEST(Fields, RefuseEntriesThatAreTooLongTooManyOrNotInOrder)
{
    using Texts = std::vector<std::string>;
    const std::pair<Texts, bool> cases[] = {{{"a", "1", "b", "2"}, true},
                                            {{"a", "1", "a", "2"}, false},
                                            {{"b", "1", "a", "2"}, false},
                                            {{"a", "1234"}, false},
                                            {{"a", "1", "b", "2", "c", "3"}, false}};
    for (const auto& [texts, isTaken] : cases) {
        WireWriter out;
        out.count(texts.size() / 2);
        for (const std::string& text : texts) out.string(text);
        WireReader in(out.message());
        FieldReader coder(in);
        std::map<std::string, std::string> entries;
        coder.entries(entries, 2, 3);
        EXPECT_EQ(in.finished(), isTaken) << texts.size() << texts[2 % texts.size()];
    }
}

} // namespace
} // namespace korvane
