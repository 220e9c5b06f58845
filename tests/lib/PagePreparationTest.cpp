#include "lib/tesseract/PagePreparation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>
#include <random>

using namespace korvane;

namespace {

constexpr double resolution = 300;

OwnedPix whitePage(int width = 1500, int height = 2000)
{
    OwnedPix page(pixCreate(width, height, 8));
    pixSetAll(page.get());
    return page;
}

void fill(const OwnedPix& page, int left, int top, int width, int height, unsigned value)
{
    Box* box = boxCreate(left, top, width, height);
    pixSetInRectArbitrary(page.get(), box, value);
    boxDestroy(&box);
}

/** Words of bars whose lengths and places never repeat: lines in one direction only. */
void drawLines(const OwnedPix& page, int top = 150)
{
    std::mt19937 random(7);
    const int right = pixGetWidth(page.get()) - 150;
    for (int y = top; y < pixGetHeight(page.get()) - 150; y += 50) {
        int x = 150;
        while (x < right - 200) {
            const int width = 20 + static_cast<int>(random() % 150);
            fill(page, x, y, width, 14, 0);
            x += width + 12 + static_cast<int>(random() % 15);
        }
    }
}

int inkPixels(const OwnedPix& ink)
{
    l_int32 count = 0;
    pixCountPixels(ink.get(), &count, nullptr);
    return count;
}

int inkIn(const OwnedPix& ink, int left, int top, int width, int height)
{
    Box* box = boxCreate(left, top, width, height);
    const OwnedPix part(pixClipRectangle(ink.get(), box, nullptr));
    boxDestroy(&box);
    return inkPixels(part);
}

} // namespace

TEST(Leveling, LevelsLinesThatFanOut)
{
    const OwnedPix page = whitePage();
    drawLines(page);
    // Columns are shifted up and down: a line at the top falls by 2 %, one at the bottom rises.
    l_float32 fan[] = {1, 0, 0, 0, 0.02F, 1 - 0.00002F * -750, 0.00002F * -1, -0.02F * 750};
    const OwnedPix seen(pixBilinearGray(page.get(), fan, 255));
    const CleanedPage cleaned{.gray = share(seen),
                              .ink = OwnedPix(pixThresholdToBinary(seen.get(), 128))};
    const Leveling leveling = findLeveling(cleaned, resolution);
    EXPECT_TRUE(leveling.geometry.isFanned());
    const CleanedPage straight = straightened(cleaned, leveling.geometry);
    EXPECT_FALSE(findLeveling(straight, resolution).geometry.isFanned());
    const double tilt = findLeveling(straight, resolution).geometry.rotation;
    EXPECT_NEAR(tilt * 180 / std::numbers::pi, 0, 0.3);
}

TEST(Cleaning, ErasesPicturesAndKeepsTheTextBelow)
{
    // Both are of the same motif: as a camera sees it, and as a printer of newspapers sets it.
    const auto motif = [](int x, int y) {
        return 110 + 40 * std::sin(x / 40.0) * std::cos(y / 55.0);
    };
    const auto photograph = [&](int x, int y) { return static_cast<unsigned>(motif(x, y)); };
    const auto halftone = [&](int x, int y) {
        const int dot[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
        return motif(x, y) > 16 * dot[y % 4][x % 4] + 8 ? 255U : 0U;
    };
    const std::function<unsigned(int, int)> pictures[] = {photograph, halftone};
    for (const auto& picture : pictures) {
        const OwnedPix page = whitePage();
        drawLines(page, 1000);
        const int text = inkPixels(cleanPage(page).ink);
        for (int y = 100; y < 900; ++y)
            for (int x = 100; x < 1400; ++x) pixSetPixel(page.get(), x, y, picture(x, y));
        const CleanedPage cleaned = cleanPage(page);
        EXPECT_LT(inkIn(cleaned.ink, 100, 100, 1300, 800), 1300 * 800 / 10);
        EXPECT_NEAR(inkIn(cleaned.ink, 0, 950, 1500, 1050), text, text * 0.02);
    }
}

TEST(Cleaning, KeepsTheFullStopsOfSmallPrint)
{
    const OwnedPix page = whitePage();
    drawLines(page);
    for (int stop = 0; stop < 200; ++stop) fill(page, 60 + stop * 7, 60, 3, 3, 0);
    EXPECT_GE(inkIn(cleanPage(page).ink, 0, 50, 1500, 30), 200 * 6);
}

TEST(Cleaning, TellsABlankPageFromOneWithASingleWord)
{
    const OwnedPix page = whitePage();
    EXPECT_TRUE(cleanPage(page).isBlank());
    fill(page, 700, 900, 40, 6, 0);
    EXPECT_FALSE(cleanPage(page).isBlank());
}
