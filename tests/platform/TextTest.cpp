#include "platform/text/Text.h"

#include <gtest/gtest.h>

#include <string_view>

namespace korvane::text {

namespace {

using namespace std::string_view_literals;

std::span<const std::uint8_t> bytes(std::string_view text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

constexpr std::string_view family = "\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466";
constexpr std::string_view flags = "\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7";

} // namespace

TEST(Text, TakesOnlyWellFormedUTF8)
{
    struct Case {
        std::string_view text;
        bool isWellFormed;
    };
    for (const Case& c : {
             Case{"", true},
             Case{"plain", true},
             Case{"\0x"sv, true},
             Case{"\u00E9\u20AC\U0010FFFF", true},
             Case{"\x80", false},
             Case{"\xC3", false},
             Case{"a\xE2\x82", false},
             Case{"\xC0\xAF", false},         // overlong
             Case{"\xED\xA0\x80", false},     // a surrogate
             Case{"\xF4\x90\x80\x80", false}, // past the last code point
             Case{"\xFF", false},
         }) {
        SCOPED_TRACE(testing::PrintToString(c.text));
        EXPECT_EQ(isWellFormedUTF8(c.text), c.isWellFormed);
        EXPECT_EQ(decodeUTF8(bytes(c.text)), c.isWellFormed ? c.text : "");
    }
}

TEST(Text, TrimsBothKindsOfSpaceAtBothEnds)
{
    struct Case {
        std::string_view text;
        std::string_view withoutHorizontal;
        std::string_view withoutAny;
    };
    for (const Case& c : {
             Case{"", "", ""},
             Case{" \t ", "", ""},
             Case{" a b ", "a b", "a b"},
             Case{"\u00A0\u3000a\u2003\u1680", "a", "a"},
             Case{" \na\r\n ", "\na\r\n", "a"},
             Case{"\v\fa\u0085\u2028\u2029", "\v\fa\u0085\u2028\u2029", "a"},
             Case{"\u200Ba\u200B", "\u200Ba\u200B", "\u200Ba\u200B"}, // no space, by its category
             Case{" \xFF \xC2", "\xFF \xC2", "\xFF \xC2"},
             Case{"\x80 ", "\x80", "\x80"},
         }) {
        SCOPED_TRACE(testing::PrintToString(c.text));
        EXPECT_EQ(trimmingHorizontalSpace(c.text), c.withoutHorizontal);
        EXPECT_EQ(trimmingSpace(c.text), c.withoutAny);
    }
}

TEST(Text, LowersLettersOfEveryScriptAndLeavesTheRest)
{
    struct Case {
        std::string_view text;
        std::string_view expected;
    };
    for (const Case& c : {
             Case{"Content-TYPE: 1", "content-type: 1"},
             Case{"\u00C9\u0416\u03A3\U00010400", "\u00E9\u0436\u03C3\U00010428"},
             Case{"A\xFF\xC3Z", "a\xFF\xC3z"},
         }) {
        EXPECT_EQ(lowercased(c.text), c.expected);
    }
}

TEST(Text, CountsWhatAReaderTakesForACharacter)
{
    struct Case {
        std::string_view text;
        std::size_t count;
        std::string_view first;
    };
    for (const Case& c : {
             Case{"", 0, ""},
             Case{"abc", 3, "a"},
             Case{"e\u0301\u0323x", 2, "e\u0301\u0323"},
             Case{family, 1, family},
             Case{flags, 2, flags.substr(0, 8)},
             Case{"\U0001F44D\U0001F3FDx", 2, "\U0001F44D\U0001F3FD"},
             Case{"\u1112\u1161\u11ABx", 2, "\u1112\u1161\u11AB"}, // one Hangul syllable
             Case{"\r\n\r\n", 2, "\r\n"},
             Case{"\n\r", 2, "\n"},
             Case{"\xFF\xFE", 2, "\xFF"},
             Case{"e\xCC", 2, "e"}, // a combining mark cut in two
             Case{"\xE2\x82", 2, "\xE2"},
         }) {
        SCOPED_TRACE(testing::PrintToString(c.text));
        EXPECT_EQ(characterCount(c.text), c.count);
        EXPECT_EQ(prefix(c.text, 1), c.first);
        EXPECT_EQ(prefix(c.text, 0), "");
        EXPECT_EQ(prefix(c.text, c.count), c.text);
        EXPECT_EQ(prefix(c.text, c.count + 1), c.text);
    }
}

TEST(Text, CutsToASizeInBytesBetweenCharactersOrSequences)
{
    struct Case {
        std::string_view text;
        std::size_t bytes;
        std::string_view characters;
        std::string_view sequences;
    };
    for (const Case& c : {
             Case{"abc", 2, "ab", "ab"},
             Case{"abc", 3, "abc", "abc"},
             Case{"e\u0301", 2, "", "e"},
             Case{"\u20AC\u20AC", 5, "\u20AC", "\u20AC"},
             Case{"a\U0001F600", 4, "a", "a"},
             Case{"a\U0001F600", 0, "", ""},
             Case{family, 24, "", family.substr(0, 21)},
             Case{"\x80\x80\x80\x80\x80\x80", 5, "\x80\x80\x80\x80\x80", "\x80\x80\x80\x80\x80"},
         }) {
        SCOPED_TRACE(testing::PrintToString(c.text));
        EXPECT_EQ(prefixFitting(c.text, c.bytes), c.characters);
        EXPECT_EQ(prefixOfSequences(c.text, c.bytes), c.sequences);
    }
}

} // namespace korvane::text
