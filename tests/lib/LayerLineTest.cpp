#include "lib/qpdf/LayerLine.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace korvane {

namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();

std::vector<std::u32string> textsOf(const LayerLine& line)
{
    std::vector<std::u32string> texts;
    for (const LayerWord& word : line.words) texts.push_back(word.text);
    return texts;
}

using Texts = std::vector<std::u32string>;

} // namespace

TEST(LayerLine, HasTheSizeAtWhichItsWordsAreAsWideAsTheyAreSeen)
{
    struct Case {
        std::vector<TextWord> words;
        double ascent, descent, size;
    };
    const Case cases[] = {{{{"Hello", 0, 54.672}}, 0, 0, 24},
                          {{{"Hello", 0, 27.336}, {"Hello", 40, 54.672}}, 0, 0, 18},
                          {{{"Hello", 0, 0.5}}, 0, 0, 1},
                          {{{"i", 0, 0.5}}, 0, 0, 1 / 0.222},
                          {{{"i", 0, -7}}, 0, 0, 1 / 0.222},
                          {{{"\u0301", 0, 40}}, 3, 1, 12},
                          {{{"Hello", 0, 54.672}}, 20, 6, 24},
                          {{{"Hello", 0, 54.672}}, 8, 2, 20},
                          {{{"Hello", 0, 54.672}}, 50, 10, 30}};
    for (const auto& [words, ascent, descent, size] : cases) {
        const LayerLine line =
            makeLayerLine({.ascent = ascent, .descent = descent, .words = words});
        EXPECT_NEAR(line.fontSize, size, 1e-9) << words[0].text << ' ' << ascent;
    }
}

TEST(LayerLine, HoldsNothingThatCannotBeDrawn)
{
    const LayerLine line = makeLayerLine({.words = {{"", 0, 9},
                                                    {"\x02\xFF", 10, 9},
                                                    {" \n ", 20, 9},
                                                    {"a\nb\x01\tc\u2028", 30, 30},
                                                    {"far", infinite, 9},
                                                    {"wide", 70, std::nan("")},
                                                    {"end", 2e6, 9}}});
    EXPECT_EQ(textsOf(line), Texts{U"a b c"});
    const double values[] = {infinite, -infinite, std::nan(""), 1e300};
    for (const double value : values) {
        EXPECT_TRUE(makeLayerLine({.x = value, .words = {{"a", 0, 9}}}).words.empty());
        EXPECT_TRUE(makeLayerLine({.angle = value, .words = {{"a", 0, 9}}}).words.empty());
        EXPECT_TRUE(makeLayerLine({.descent = value, .words = {{"a", 0, 9}}}).words.empty());
    }
}

TEST(LayerLine, IsDrawnFromLeftToRightWhereSomeOfItIsReadFromRightToLeft)
{
    const std::pair<std::vector<TextWord>, Texts> cases[] = {
        {{{"אבג", 60, 30}, {"12:30", 30, 25}, {"דה!", 0, 25}}, {U"!הד", U"12:30", U"גבא"}},
        {{{"see", 0, 20}, {"אב", 50, 20}, {"גד", 25, 20}, {"now", 75, 20}},
         {U"see", U"דג", U"בא", U"now"}},
        {{{"ב-2024", 30, 40}, {"(טוב)", 0, 25}}, {U")בוט(", U"2024-ב"}},
        {{{"kept", 30, 20}, {"in", 0, 20}, {"order", 60, 20}}, {U"kept", U"in", U"order"}}};
    for (const auto& [words, drawn] : cases)
        EXPECT_EQ(textsOf(makeLayerLine({.words = words})), drawn) << words[0].text;
}

TEST(LayerLine, FollowsTheSideOfThePageUnlessItIsTiltedTooMuch)
{
    struct Case {
        double angle, width, direction, x, y;
    };
    const double root = std::sqrt(0.5);
    const Case cases[] = {{0, 40, 0, 100, 0},
                          {180, 40, 180, 100, 0},
                          {-90, 40, -90, 100, 0},
                          {45, 13, 45, 100, 0},
                          {30, 40, 30, 100, 0},
                          {30, 18, 0, 109 * std::cos(std::atan(1) * 2 / 3) - 9, 54.5},
                          {45, 10, 90, 105 * root - 5, -105 * root},
                          {184, 300, 184, 100, 0}};
    for (const auto& [angle, width, direction, x, y] : cases) {
        const LayerLine line = makeLayerLine(
            {.angle = angle, .ascent = 7, .descent = 2, .words = {{"word", 100, width}}});
        ASSERT_EQ(line.words.size(), 1U);
        EXPECT_EQ(line.direction, direction) << angle;
        EXPECT_NEAR(line.words[0].x, x, 1e-9) << angle;
        EXPECT_NEAR(line.words[0].y, y, 1e-9) << angle;
    }
}

} // namespace korvane
