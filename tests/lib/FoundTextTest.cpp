#include "lib/tesseract/FoundText.h"

#include "lib/tesseract/SidewaysText.h"

#include <gtest/gtest.h>

using namespace korvane;

namespace {

FoundWord word(std::string text, double confidence, bool isInDictionary = false)
{
    return {.text = std::move(text),
            .confidence = confidence,
            .isInDictionary = isInDictionary,
            .box = {.right = 10}};
}

std::string textAfterNoise(std::vector<FoundWord> words)
{
    std::vector<FoundLine> lines = {{.words = std::move(words)}};
    dropNoise(lines);
    std::string text;
    for (const FoundLine& line : lines)
        for (const FoundWord& each : line.words) text += (text.empty() ? "" : " ") + each.text;
    return text;
}

} // namespace

TEST(Noise, IsDroppedAndTextIsKept)
{
    const struct {
        std::vector<FoundWord> words;
        std::string kept;
    } cases[] = {
        // One word in a line that is hardly legible is a word all the same.
        {{word("quick", 95, true), word("brown", 96, true), word(",.schnelle", 14)},
         "quick brown ,.schnelle"},
        // Marks of dirt at the ends of a line go, signs within it stay.
        {{word("~", 12), word("one", 95, true), word("-", 30), word("two", 95, true), word("'", 9)},
         "one - two"},
        // What is read into pictures.
        {{word("oie", 9, true), word("ee", 27), word("=", 57)}, ""},
        {{word("Mee", 46, true), word("4", 30), word("‘", 0)}, ""},
        {{word("wf", 55)}, ""},
        {{word("|", 97)}, ""},
        // Numbers and names are in no dictionary.
        {{word("93", 91)}, "93"},
        {{word("Kilpatrick", 84)}, "Kilpatrick"},
        // A poor copy of words that a dictionary has.
        {{word("minutes", 38, true), word("meeting", 35, true)}, "minutes meeting"},
        {{}, ""},
    };
    for (const auto& each : cases) EXPECT_EQ(textAfterNoise(each.words), each.kept);
}

TEST(PlacedLine, HasItsWordsAlongTheBaselineFromTheLeftmostOn)
{
    // Right to left: the first word read is the rightmost.
    const FoundLine line{.words = {{.text = "שלום", .box = {300, 60, 400, 112}},
                                   {.text = "עולם", .box = {100, 80, 250, 100}}},
                         .baselineStart = {100, 100},
                         .baselineEnd = {400, 100}};
    const PageGeometry geometry{
        .width = 720, .height = 1000, .resolution = 72, .rotatedWidth = 720, .rotatedHeight = 1000};
    const TextLine placedLine = placed(line, geometry);
    EXPECT_DOUBLE_EQ(placedLine.x, 100);
    EXPECT_DOUBLE_EQ(placedLine.y, 900);
    EXPECT_DOUBLE_EQ(placedLine.angle, 0);
    EXPECT_DOUBLE_EQ(placedLine.ascent, 40);
    EXPECT_DOUBLE_EQ(placedLine.descent, 12);
    EXPECT_EQ(placedLine.words, (std::vector<TextWord>{{"שלום", 200, 100}, {"עולם", 0, 150}}));
}

TEST(SidewaysText, IsTakenInTheDirectionInWhichItReads)
{
    const std::vector<PixelBox> strips = {{10, 100, 40, 500}};
    const auto line = [](double confidence, int left) {
        return FoundLine{
            .words = {
                {.text = "Archive", .confidence = confidence, .box = {left, 20, left + 100, 40}}}};
    };
    // On a page of 800 by 1000, turned once: x counts from the page's bottom, y from its left.
    const FoundLine rising = line(95, 700);
    const FoundLine falling{
        .words = {{.text = "eAiyoiy", .confidence = 71, .box = {200, 770, 300, 790}}}};
    auto chosen = chooseDirections(strips, {rising}, {falling}, 800, 1000);
    EXPECT_EQ(chosen.turnedOnce.size(), 1U);
    EXPECT_TRUE(chosen.turnedThrice.empty());
    EXPECT_EQ(chosen.strips.size(), 1U);

    chosen = chooseDirections(strips, {line(71, 700)}, {falling, falling}, 800, 1000);
    EXPECT_TRUE(chosen.turnedOnce.empty());
    EXPECT_EQ(chosen.turnedThrice.size(), 2U);

    // Neither reads well, or the line is in no strip.
    chosen = chooseDirections(strips, {line(50, 700), line(95, 100)}, {}, 800, 1000);
    EXPECT_TRUE(chosen.turnedOnce.empty());
    EXPECT_TRUE(chosen.strips.empty());
}
