#include "text/Text.h"

#include "text/CodePoints.h"
#include "text/DisplayText.h"
#include "text/FileName.h"
#include "text/Markup.h"
#include "text/PercentEncoding.h"

#include <gtest/gtest.h>

namespace korvane::text {

namespace {

using namespace std::string_view_literals;
using testing::PrintToString;

constexpr std::string_view family = "\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466";
constexpr std::string_view flags = "\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7";

} // namespace

TEST(Text, TakesOnlyWellFormedUTF8)
{
    for (const std::string_view text : {""sv, "plain"sv, "\0x"sv, "\u00E9\u20AC\U0010FFFF"sv}) {
        EXPECT_TRUE(isWellFormedUTF8(text)) << text;
    }
    // Stray and missing bytes, an overlong form, a surrogate, and past the last code point.
    for (const std::string_view text :
         {"\x80", "\xC3", "a\xE2\x82", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF"}) {
        EXPECT_FALSE(isWellFormedUTF8(text)) << PrintToString(text);
    }
}

TEST(Text, TrimsBothKindsOfSpaceAtBothEnds)
{
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"", "", ""},
        {" \t ", "", ""},
        {" a b ", "a b", "a b"},
        {"\u00A0\u3000a\u2003\u1680", "a", "a"},
        {" \na\r\n ", "\na\r\n", "a"},
        {"\v\fa\u0085\u2028\u2029", "\v\fa\u0085\u2028\u2029", "a"},
        {"\u200Ba\u200B", "\u200Ba\u200B", "\u200Ba\u200B"},
        {" \xFF \xC2", "\xFF \xC2", "\xFF \xC2"},
        {"\x80 ", "\x80", "\x80"}};
    for (const auto& [text, withoutHorizontal, withoutAny] : cases) {
        EXPECT_EQ(trimmingHorizontalSpace(text), withoutHorizontal);
        EXPECT_EQ(trimmingSpace(text), withoutAny);
    }
}

TEST(Text, LowersLettersOfEveryScriptAndLeavesTheRest)
{
    EXPECT_EQ(lowercased("Content-TYPE: 1"), "content-type: 1");
    EXPECT_EQ(lowercased("\u00C9\u0416\u03A3\U00010400"), "\u00E9\u0436\u03C3\U00010428");
    EXPECT_EQ(lowercased("A\xFF\xC3Z"), "a\xFF\xC3z");
}

TEST(Text, CountsWhatAReaderTakesForACharacter)
{
    const std::tuple<std::string_view, std::size_t, std::string_view> cases[] = {
        {"", 0, ""},
        {"abc", 3, "a"},
        {"e\u0301\u0323x", 2, "e\u0301\u0323"},
        {family, 1, family},
        {flags, 2, flags.substr(0, 8)},
        {"\U0001F44D\U0001F3FDx", 2, "\U0001F44D\U0001F3FD"},
        {"\u1112\u1161\u11ABx", 2, "\u1112\u1161\u11AB"},
        {"\r\n\r\n", 2, "\r\n"},
        {"\n\r", 2, "\n"},
        {"\xFF\xFE", 2, "\xFF"},
        {"e\xCC", 2, "e"},
        {"\xE2\x82", 2, "\xE2"}};
    for (const auto& [text, count, first] : cases) {
        EXPECT_EQ(characterCount(text), count) << PrintToString(text);
        EXPECT_EQ(prefix(text, 1), first);
        EXPECT_EQ(prefix(text, 0), "");
        EXPECT_EQ(prefix(text, count), text);
        EXPECT_EQ(prefix(text, count + 1), text);
    }
}

TEST(Text, CountsWordsThatHoldALetterOrANumber)
{
    for (const auto& [text, count] : {std::pair{"", 0U},
                                      {" - \u2014\n", 0U},
                                      {"Dear  Ms. O'Neil,\n\n42 caf\u00E9s\u00A0\u2026", 5U},
                                      {"\xFF a\xFFz", 1U}})
        EXPECT_EQ(wordCount(text), count) << PrintToString(text);
}

TEST(Text, CutsToASizeInBytesBetweenCharactersOrSequences)
{
    const std::tuple<std::string_view, std::size_t, std::string_view, std::string_view> cases[] = {
        {"abc", 2, "ab", "ab"},
        {"abc", 3, "abc", "abc"},
        {"e\u0301", 2, "", "e"},
        {"\u20AC\u20AC", 5, "\u20AC", "\u20AC"},
        {"a\U0001F600", 4, "a", "a"},
        {"a\U0001F600", 0, "", ""},
        {family, 24, "", family.substr(0, 21)},
        {"\x80\x80\x80\x80\x80\x80", 5, "\x80\x80\x80\x80\x80", "\x80\x80\x80\x80\x80"}};
    for (const auto& [text, bytes, characters, sequences] : cases) {
        EXPECT_EQ(prefixFitting(text, bytes), characters) << PrintToString(text);
        EXPECT_EQ(prefixOfSequences(text, bytes), sequences) << PrintToString(text);
    }
}

TEST(Text, ShowsAStrangersTextSoThatItCannotSteerWhatShowsIt)
{
    const std::tuple<std::string, std::size_t, std::string> cases[] = {
        {"plain\nÄ", 7, "plain\nÄ"},
        {"a\x1B[1m\t\x7F\u0085\u2028b", 20, "a [1m    b"},
        {"\xE2\x80\xAE"
         "gpj\xE2\x81\xA6.exe\xE2\x80\x8F",
         20, "gpj.exe\xE2\x80\x8F"},
        {"a\xFF\xC3", 3, "a\uFFFD\uFFFD"},
        {std::string("a\0b", 3), 3, "a b"},
        {std::string(family) + "xyzabc", 5, std::string(family) + "xyza…"},
        {std::string(1 << 20, 'x'), 2, "xx…"}};
    for (const auto& [text, limit, shown] : cases) {
        EXPECT_EQ(displayText(text, limit), shown) << PrintToString(text.substr(0, 40));
    }
    std::string marks;
    for (int i = 0; i < 5000; ++i) marks += "\u0301";
    EXPECT_LE(displayText("e" + marks, 10).size(), 10U * 8 + 3);
    EXPECT_EQ(displayLine("two\nlines", 9), "two lines");
}

TEST(Text, MakesAnyTextATitle)
{
    const std::tuple<std::string, std::size_t, std::string> cases[] = {
        {" \n Tax\n2025 ", 80, "Tax 2025"},
        {"two words", 4, "two"},
        {"", 80, "Untitled"},
        {"\u202E \x01", 80, "Untitled"}};
    for (const auto& [text, limit, title] : cases) EXPECT_EQ(displayTitle(text, limit), title);
}

TEST(CodePoints, TellsControlsReorderingAndLettersApart)
{
    const std::tuple<std::u32string, bool, bool, bool> cases[] = {
        {U"\n\x1F\x7F\x9F\u2028\u2029", true, false, false},
        {U"\u202A\u202E\u2066\u2069", false, true, false},
        {U"aЖغ漢ªʰǅ5٣Ⅷ½", false, false, true},
        {U" -\u00A0\u200B\u200F\u202F\u2014\uFEFF×€•\U0001F600", false, false, false}};
    for (const auto& [codePoints, control, reorders, letter] : cases)
        for (const char32_t codePoint : codePoints) {
            EXPECT_EQ(isControl(codePoint), control) << std::hex << std::uint32_t{codePoint};
            EXPECT_EQ(reordersText(codePoint), reorders) << std::hex << std::uint32_t{codePoint};
            EXPECT_EQ(isLetterOrNumber(codePoint), letter) << std::hex << std::uint32_t{codePoint};
        }
}

TEST(PercentEncoding, LeavesOnlyWhatStandsForItself)
{
    EXPECT_EQ(fileURI("/a-b_c.d~e/Ä %?#&+\n\xff"),
              "file:///a-b_c.d~e/%C3%84%20%25%3F%23%26%2B%0A%FF");
    EXPECT_EQ(percentEncoded("a/."sv, "a"), "a%2F%2E");
    EXPECT_EQ(percentEncoded("\0"sv), "%00");
    EXPECT_EQ(percentDecoded("/my%20b%c3%BCs%0"), "/my b\u00FCs%0");
    EXPECT_EQ(percentDecoded("%%41%+1%4g%"), "%A%+1%4g%");
    for (const char* const text : {"%2F", "%00x"}) EXPECT_TRUE(beginsPercentEncoded(text)) << text;
    for (const char* const text : {"", "%", "%2", "%2G", "x%2F", "%%2F"}) {
        EXPECT_FALSE(beginsPercentEncoded(text)) << text;
    }
}

TEST(Markup, IsEscapedTakenOutAndKeptToWhatXMLAllows)
{
    const std::pair<const char*, const char*> escaped[] = {
        {"", ""}, {"<a href=\"x\">'&amp;", "&lt;a href=&quot;x&quot;&gt;&#39;&amp;amp;"}};
    for (const auto& [text, markup] : escaped) {
        EXPECT_EQ(htmlEscape(text), markup);
        EXPECT_EQ(withoutMarkup(markup), text);
    }
    EXPECT_EQ(contentEscape("<\"'&>"), "&lt;\"'&amp;&gt;");
    const std::pair<const char*, const char*> plain[] = {
        {"<p>a<br>b</p>", "ab"}, {"a & b &x; &apos;", "a & b &x; '"}, {"a<b", "a"}, {"<>&", "&"}};
    for (const auto& [markup, text] : plain) EXPECT_EQ(withoutMarkup(markup), text);
    EXPECT_EQ(allowedInXML("a\t\r\nb\rc\x01\0\x1F\xFF\uFFFE\uFFFD\u202E\x7F"sv),
              "a\t\nb\nc\uFFFD\u202E\x7F");
}

TEST(FileName, HasNoCharacterThatAFileSystemRefusesAndFits)
{
    EXPECT_EQ(withoutRefusedCharacters(R"(a/:\?%*|"<>.b~)"), "a__________.b~");
    EXPECT_EQ(fittingFileName("name", ".pdf"), "name.pdf");
    EXPECT_EQ(fittingFileName(std::string(300, 'n'), " 2.pdf"), std::string(249, 'n') + " 2.pdf");
    EXPECT_EQ(fittingFileName(std::string(250, 'n') + "e\u0301", ".pdf").size(), 254U);
    EXPECT_EQ(fittingFileName("name", std::string(300, 'e')), std::string(300, 'e'));
}

} // namespace korvane::text
