#include "workerpool/FieldReader.h"
#include "workerpool/FieldWriter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>

namespace korvane {
namespace {

struct Leaf {
    std::int32_t number = 0;

    friend bool operator==(const Leaf&, const Leaf&) = default;
};

void fields(auto& coder, FieldsOf<Leaf> auto& leaf)
{
    coder.number(leaf.number, -5, 5);
}

enum class Color : std::uint8_t { red, green, blue };

/** One field of each sort. */
struct Tree {
    double height = 1;
    std::uint64_t age = 2;
    bool isGreen = true;
    Color color = Color::red;
    std::string name = "Grün";
    std::string bytes = "\xFF";
    std::vector<Leaf> leaves = {{1}, {-5}};
    std::map<std::string, std::string> entries = {{"a", "1"}, {"b", "2"}};
    std::optional<Leaf> fruit = Leaf{3};

    friend bool operator==(const Tree&, const Tree&) = default;
};

void fields(auto& coder, FieldsOf<Tree> auto& tree)
{
    coder.number(tree.height, 0, 10);
    coder.number(tree.age, 1, 9);
    coder.flag(tree.isGreen);
    coder.choice(tree.color, Color::green);
    coder.text(tree.name, 5);
    coder.bytes(tree.bytes, 3);
    coder.list(tree.leaves, 3);
    coder.entries(tree.entries, 2, 3);
    coder.optional(tree.fruit);
    coder.check(tree.height != 7);
}

WorkerMessage encode(const Tree& tree)
{
    WireWriter out;
    FieldWriter coder(out);
    fields(coder, tree);
    return out.message();
}

std::optional<Tree> decode(WorkerMessage message)
{
    Tree tree;
    WireReader in(std::move(message));
    FieldReader coder(in);
    fields(coder, tree);
    return in.finished() ? std::optional(tree) : std::nullopt;
}

TEST(Fields, AreReadAsTheyWereWritten)
{
    EXPECT_EQ(decode(encode(Tree())), Tree());
    const Tree bare{.name = "", .bytes = "", .leaves = {}, .entries = {}, .fruit = std::nullopt};
    EXPECT_EQ(decode(encode(bare)), bare);
}

TEST(Fields, RefuseWhatTheyMayNotBe)
{
    struct Case {
        const char* name;
        std::function<void(Tree&)> change;
    };
    const double infinity = std::numeric_limits<double>::infinity();
    const Case cases[] = {
        {"a number that is too large", [](Tree& t) { t.height = 10.5; }},
        {"a number that is too small", [](Tree& t) { t.age = 0; }},
        {"NaN", [](Tree& t) { t.height = std::numeric_limits<double>::quiet_NaN(); }},
        {"infinity", [&](Tree& t) { t.height = infinity; }},
        {"no enumerator", [](Tree& t) { t.color = Color::blue; }},
        {"a text that is too long", [](Tree& t) { t.name = "Größe"; }},
        {"a text that is not UTF-8", [](Tree& t) { t.name = "\xFF"; }},
        {"too many bytes", [](Tree& t) { t.bytes = "1234"; }},
        {"too many elements", [](Tree& t) { t.leaves.resize(4); }},
        {"an element that is out of range", [](Tree& t) { t.leaves[1].number = 6; }},
        {"too many entries", [](Tree& t) { t.entries["c"]; }},
        {"an entry that is too long", [](Tree& t) { t.entries["a"] = "1234"; }},
        {"an optional value that is out of range", [](Tree& t) { t.fruit->number = -6; }},
        {"what does not fit together", [](Tree& t) { t.height = 7; }},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        Tree tree;
        each.change(tree);
        EXPECT_FALSE(decode(encode(tree)));
    }
}

TEST(Fields, AreRefusedHoweverTheMessageIsCut)
{
    const Data payload = encode(Tree()).payload;
    for (std::size_t size = 0; size < payload.size(); ++size)
        EXPECT_FALSE(decode({.payload = payload.slice(0, size)})) << size;
    const Data pieces[] = {payload, Data::copying("x")};
    EXPECT_FALSE(decode({.payload = Data::joining(pieces)}));
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

TEST(Fields, RefuseEntriesThatAreNotInOrder)
{
    for (const char* second : {"a", "A", "b"}) {
        WireWriter out;
        out.count(2);
        for (const char* text : {"a", "1", second, "2"}) out.string(text);
        WireReader in(out.message());
        FieldReader coder(in);
        std::map<std::string, std::string> entries;
        coder.entries(entries, 2, 1);
        EXPECT_EQ(in.finished(), std::string(second) == "b") << second;
    }
}

} // namespace
} // namespace korvane
