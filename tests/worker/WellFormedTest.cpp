#include "worker/WellFormed.h"

#include <gtest/gtest.h>

namespace korvane {
namespace {

TEST(WellFormed, LeavesOutWhatIsNoTextAndCutsTheRest)
{
    EXPECT_EQ(wellFormed("Gr\xFF\xC3ße", 100), "Grße");
    EXPECT_EQ(wellFormed("Größe", 4), "Gr\xC3\xB6");
    EXPECT_EQ(wellFormed("Größe", 3), "Gr");
}

TEST(WellFormed, LeavesOutWordsAndLinesThatHaveNoText)
{
    PageReading reading{.lines = {{.words = {{"one", 0, 1}, {"\xFF", 2, 1}, {"two", 4, 1}}},
                                  {.words = {{"", 0, 1}}},
                                  {.y = 3, .words = {{"three", 0, 1}}}}};
    makeWellFormed(reading);
    const std::vector<TextLine> expected{{.words = {{"one", 0, 1}, {"two", 4, 1}}},
                                         {.y = 3, .words = {{"three", 0, 1}}}};
    EXPECT_EQ(reading.lines, expected);
    EXPECT_EQ(textOf(reading), "one two \nthree \n");
}

} // namespace
} // namespace korvane
