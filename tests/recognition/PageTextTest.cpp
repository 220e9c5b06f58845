#include "recognition/PageText.h"

#include <gtest/gtest.h>

#include <cmath>

namespace korvane {
namespace {

/** Two words, the first 10 to the left of the line's origin, which is at (100, 200). */
TextLine lineAt(double angle)
{
    return {.x = 100,
            .y = 200,
            .angle = angle,
            .ascent = 8,
            .descent = 2,
            .words = {{"second", 40, 20}, {"first", -10, 30}}};
}

TEST(PageText, JoinsTheWordsOfALineInTheirOrder)
{
    const OCRSpan span = makeSpan(lineAt(0));
    EXPECT_EQ(span.text, "second first");
    EXPECT_EQ(span.line, lineAt(0));
}

TEST(PageText, SpansTheSmallestUprightRectangleAroundALine)
{
    const double diagonal = std::sqrt(0.5);
    const std::pair<double, PDFRect> cases[] = {
        {0, {90, 198, 70, 10}},
        {90, {92, 190, 10, 70}},
        {180, {40, 192, 70, 10}},
        {-90, {98, 140, 10, 70}},
        {45, {100 - 18 * diagonal, 200 - 12 * diagonal, 80 * diagonal, 80 * diagonal}}};
    for (const auto& [angle, expected] : cases) {
        SCOPED_TRACE(angle);
        const PDFRect rect = makeSpan(lineAt(angle)).rect;
        EXPECT_NEAR(rect.x, expected.x, 1e-9);
        EXPECT_NEAR(rect.y, expected.y, 1e-9);
        EXPECT_NEAR(rect.width, expected.width, 1e-9);
        EXPECT_NEAR(rect.height, expected.height, 1e-9);
    }
}

TEST(PageText, TellsThePagesSizeAtAnotherResolution)
{
    const PDFRect a4{0, 0, 595.276, 841.89};
    const BitmapSize upright{1654, 2339, 200};
    EXPECT_EQ(sizeAt(200, a4, {2480, 3508, 300}), upright);
    EXPECT_EQ(sizeAt(200, a4), upright);
    EXPECT_EQ(sizeAt(200, a4, {3508, 2480, 300}), (BitmapSize{2339, 1654, 200})) << "on its side";
    EXPECT_EQ(sizeAt(200, {}, {3000, 1500, 300}), (BitmapSize{2000, 1000, 200})) << "no box";
    EXPECT_EQ(sizeAt(200, {0, 0, 7200, 7200}, {10000, 10000, 100}), (BitmapSize{10000, 10000, 100}))
        << "what fits";
}

} // namespace
} // namespace korvane
