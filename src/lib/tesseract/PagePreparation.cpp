#include "lib/tesseract/PagePreparation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <optional>
#include <utility>
#include <vector>

namespace korvane {

namespace {

/** What is lighter than this, after the paper was made 200, is paper. */
constexpr int inkThreshold = 180;
constexpr int paperLevel = 200;
constexpr int white = 255;

/** Photographs consist of midtones, letters have them at their edges only. */
constexpr int darkestMidtone = 60;
constexpr int lightestMidtone = 165;
/** Midtones are counted in squares of so many pixels; a picture has so many squares a side, which
 *  no letter's stroke has. */
constexpr int midtoneSquare = 8;
constexpr int minPictureSquares = 12;

/** What is less long and less high is a speck where there are many of them: more than this share
 *  of the ink. Full stops of small print are as small. */
constexpr int minStroke = 4;
constexpr double maxSpeckShare = 0.01;

/** Fewer pixels make no letter. */
constexpr int minInk = 40;

/** In degrees; the angle at the edge of the range is not found. */
constexpr float maxTilt = 13;
constexpr double minTilt = 0.1;
/** Leptonica's ratio of the sharpest row profile to the dullest, from which its angle can be
 *  relied on. */
constexpr float reliableSkew = 2;
/** With less than this, the lines may fan out. */
constexpr float sharpSkew = 3;
constexpr float clearlySharper = 1.3F;
/** Lines in one direction are so much sharper than the columns that they form in the other. */
constexpr float certainlySharper = 2;
/** Noise has less. */
constexpr float minSkew = 1.2F;

constexpr int bandCount = 7;
constexpr std::size_t minBands = 4;
constexpr float minBandSkew = 1.7F;
constexpr double radiansPerDegree = std::numbers::pi / 180;

struct Skew {
    /** Clockwise rotation that levels the lines, in degrees. */
    float angle = 0;
    float confidence = 0;
};

Skew findSkew(Pix* ink, float range)
{
    constexpr int coarse = 4;
    constexpr int fine = 2;
    Skew skew;
    if (pixFindSkewSweepAndSearch(ink, &skew.angle, &skew.confidence, coarse, fine, range,
                                  range > 6 ? 1.0F : 0.5F, 0.01F) != 0)
        return {};
    return skew;
}

/** Paper becomes evenly light, and what is nearly as light white: in noise that is left in gray
 *  Tesseract finds letters without end. */
OwnedPix evenLight(const OwnedPix& rendered)
{
    OwnedPix even(pixBackgroundNormSimple(rendered.get(), nullptr, nullptr));
    if (!even) even.reset(pixCopy(nullptr, rendered.get()));
    return even;
}

/** Where photographs and halftone pictures are; null when there are none. */
OwnedPix findHalftones(const OwnedPix& ink)
{
    const OwnedPix half(pixReduceRankBinary2(ink.get(), 1, nullptr));
    if (!half) return nullptr;
    l_int32 isFound = 0;
    const OwnedPix mask(pixGenerateHalftoneMask(half.get(), nullptr, &isFound, nullptr));
    if (!mask || isFound == 0) return nullptr;
    return OwnedPix(pixExpandReplicate(mask.get(), 2));
}

OwnedPix findPhotographs(const OwnedPix& gray)
{
    const OwnedPix midtones(
        pixGenerateMaskByBand(gray.get(), darkestMidtone, lightestMidtone, 1, 0));
    if (!midtones) return nullptr;
    const OwnedPix squares(pixReduceRankBinaryCascade(midtones.get(), 3, 3, 3, 0));
    if (!squares) return nullptr;
    const OwnedPix areas(
        pixOpenBrick(nullptr, squares.get(), minPictureSquares, minPictureSquares));
    l_int32 isEmpty = 1;
    if (!areas || pixZero(areas.get(), &isEmpty) != 0 || isEmpty != 0) return nullptr;
    const OwnedPix joined(
        pixCloseSafeBrick(nullptr, areas.get(), minPictureSquares, minPictureSquares));
    return joined ? OwnedPix(pixExpandReplicate(joined.get(), midtoneSquare)) : nullptr;
}

void erase(CleanedPage& page, const OwnedPix& mask)
{
    if (!mask) return;
    pixSetMasked(page.gray.get(), mask.get(), white);
    pixSubtract(page.ink.get(), page.ink.get(), mask.get());
}

int countPixels(const OwnedPix& bitmap)
{
    l_int32 count = 0;
    return bitmap && pixCountPixels(bitmap.get(), &count, nullptr) == 0 ? count : 0;
}

/** Dust and the noise of a sensor, where there is much of it. */
void eraseSpecks(CleanedPage& page)
{
    const OwnedPix strokes(pixOpenBrick(nullptr, page.ink.get(), minStroke, 1));
    const OwnedPix upright(pixOpenBrick(nullptr, page.ink.get(), 1, minStroke));
    if (!strokes || !upright) return;
    pixOr(strokes.get(), strokes.get(), upright.get());
    const OwnedPix letters(pixSeedfillBinary(nullptr, strokes.get(), page.ink.get(), 8));
    if (!letters) return;
    const OwnedPix specks(pixSubtract(nullptr, page.ink.get(), letters.get()));
    if (countPixels(specks) <= maxSpeckShare * countPixels(letters)) return;
    const OwnedPix halos(pixDilateBrick(nullptr, specks.get(), 3, 3));
    erase(page, halos);
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/** How the angle of lines, in degrees, changes from the top of a page to its bottom. */
struct Fan {
    double middle = 0;
    double change = 0;
};

/** A line through the angles of several bands of the page, by the median of its slopes: rules and
 *  the edges of pictures do not affect it. */
std::optional<Fan> findFan(Pix* ink)
{
    const int width = pixGetWidth(ink);
    const int height = pixGetHeight(ink);
    const int bandHeight = height / 4;
    std::vector<std::pair<double, double>> angles;
    for (int band = 0; band < bandCount; ++band) {
        const int top = (height - bandHeight) * band / (bandCount - 1);
        Box* box = boxCreate(0, top, width, bandHeight);
        const OwnedPix clipped(pixClipRectangle(ink, box, nullptr));
        boxDestroy(&box);
        if (!clipped) return std::nullopt;
        const Skew skew = findSkew(clipped.get(), 6);
        if (skew.confidence < minBandSkew) continue;
        angles.emplace_back((top + bandHeight / 2.0) / height - 0.5, skew.angle);
    }
    if (angles.size() < minBands) return std::nullopt;
    std::vector<double> slopes;
    for (std::size_t one = 0; one < angles.size(); ++one)
        for (std::size_t other = 0; other < one; ++other)
            slopes.push_back((angles[one].second - angles[other].second) /
                             (angles[one].first - angles[other].first));
    const double change = median(slopes);
    std::vector<double> middles;
    for (const auto& [place, angle] : angles) middles.push_back(angle - change * place);
    return Fan{.middle = median(middles), .change = change};
}

std::array<l_float32, 8> levelingTransform(const PageGeometry& geometry)
{
    const double middle = geometry.rotatedWidth / 2.0;
    return {1,
            0,
            0,
            0,
            static_cast<l_float32>(geometry.fanOffset),
            static_cast<l_float32>(1 - geometry.fanSlope * middle),
            static_cast<l_float32>(geometry.fanSlope),
            static_cast<l_float32>(-geometry.fanOffset * middle)};
}

OwnedPix leveled(const OwnedPix& bitmap, const PageGeometry& geometry)
{
    auto transform = levelingTransform(geometry);
    return OwnedPix(pixGetDepth(bitmap.get()) == 1
                        ? pixBilinearSampled(bitmap.get(), transform.data(), L_BRING_IN_WHITE)
                        : pixBilinearGray(bitmap.get(), transform.data(), white));
}

OwnedPix rotated(const OwnedPix& bitmap, const PageGeometry& geometry)
{
    OwnedPix result(geometry.quarterTurns == 0
                        ? pixClone(bitmap.get())
                        : pixRotateOrth(bitmap.get(), geometry.quarterTurns));
    if (!result || geometry.rotation == 0) return result;
    const int kind = pixGetDepth(result.get()) == 1 ? L_ROTATE_SAMPLING : L_ROTATE_AREA_MAP;
    return OwnedPix(pixRotate(result.get(), static_cast<l_float32>(geometry.rotation), kind,
                              L_BRING_IN_WHITE, pixGetWidth(result.get()),
                              pixGetHeight(result.get())));
}

OwnedPix straightened(const OwnedPix& bitmap, const PageGeometry& geometry)
{
    OwnedPix result = rotated(bitmap, geometry);
    return result && geometry.isFanned() ? leveled(result, geometry) : std::move(result);
}

/** Levels lines that fan out, if they are sharper then. */
void levelFan(PageGeometry& geometry, const OwnedPix& ink)
{
    const OwnedPix straight = rotated(ink, geometry);
    if (!straight) return;
    const Skew before = findSkew(straight.get(), 6);
    if (before.confidence >= sharpSkew) return;
    const auto fan = findFan(straight.get());
    if (!fan) return;
    PageGeometry fanned = geometry;
    fanned.fanOffset = -std::tan((fan->middle - fan->change / 2) * radiansPerDegree);
    fanned.fanSlope = -fan->change * radiansPerDegree / fanned.rotatedHeight;
    const OwnedPix level = leveled(straight, fanned);
    if (!level) return;
    const Skew after = findSkew(level.get(), 6);
    if (after.confidence >= reliableSkew && after.confidence > before.confidence * clearlySharper)
        geometry = fanned;
}

} // namespace

bool CleanedPage::isBlank() const
{
    return countPixels(ink) < minInk;
}

CleanedPage cleanPage(const OwnedPix& rendered)
{
    CleanedPage page{.gray = evenLight(rendered)};
    if (!page.gray) return {};
    page.ink.reset(pixThresholdToBinary(page.gray.get(), inkThreshold));
    if (!page.ink) return {};
    const OwnedPix halftones = findHalftones(page.ink);
    const OwnedPix photographs = findPhotographs(page.gray);
    erase(page, halftones);
    erase(page, photographs);
    eraseSpecks(page);
    pixGammaTRC(page.gray.get(), page.gray.get(), 1, 0, paperLevel);
    return page;
}

Leveling findLeveling(const CleanedPage& page, double resolution)
{
    Leveling leveling{.geometry = {.width = pixGetWidth(page.gray.get()),
                                   .height = pixGetHeight(page.gray.get()),
                                   .resolution = resolution}};
    PageGeometry& geometry = leveling.geometry;
    const Skew upright = findSkew(page.ink.get(), maxTilt);
    const OwnedPix onSide(pixRotateOrth(page.ink.get(), 1));
    const Skew sideways = onSide ? findSkew(onSide.get(), maxTilt) : Skew();
    const bool isSideways = sideways.confidence >= upright.confidence * certainlySharper &&
                            sideways.confidence >= reliableSkew;
    const Skew& skew = isSideways ? sideways : upright;
    if (isSideways || upright.confidence >= sideways.confidence * certainlySharper) {
        leveling.lines = Leveling::Lines::level;
    } else {
        leveling.lines = Leveling::Lines::uncertain;
    }
    if (std::max(upright.confidence, sideways.confidence) < minSkew)
        leveling.lines = Leveling::Lines::none;

    if (isSideways) geometry.quarterTurns = 1;
    if (skew.confidence >= reliableSkew && std::abs(static_cast<double>(skew.angle)) >= minTilt)
        geometry.rotation = static_cast<double>(skew.angle) * radiansPerDegree;
    const OwnedPix straight = rotated(page.ink, geometry);
    if (!straight) return leveling;
    geometry.rotatedWidth = pixGetWidth(straight.get());
    geometry.rotatedHeight = pixGetHeight(straight.get());
    if (skew.confidence < sharpSkew && leveling.lines != Leveling::Lines::none)
        levelFan(geometry, page.ink);
    return leveling;
}

PageGeometry turnedFurther(PageGeometry geometry, int quarterTurns)
{
    geometry.quarterTurns = (geometry.quarterTurns + quarterTurns) % 4;
    if (quarterTurns % 2 != 0) {
        // Lines that fanned out are columns now.
        std::swap(geometry.rotatedWidth, geometry.rotatedHeight);
        geometry.fanOffset = geometry.fanSlope = 0;
    } else if (quarterTurns % 4 == 2) {
        geometry.fanOffset += geometry.fanSlope * geometry.rotatedHeight;
        geometry.fanSlope = -geometry.fanSlope;
    }
    return geometry;
}

CleanedPage straightened(const CleanedPage& page, const PageGeometry& geometry)
{
    return {.gray = straightened(page.gray, geometry), .ink = straightened(page.ink, geometry)};
}

Letters measureLetters(const CleanedPage& straight)
{
    constexpr int minHeight = 8;
    constexpr int maxHeight = 150;
    Boxa* boxes = pixConnCompBB(straight.ink.get(), 8);
    std::vector<double> heights;
    for (int index = 0; index < boxaGetCount(boxes); ++index) {
        l_int32 height = 0;
        boxaGetBoxGeometry(boxes, index, nullptr, nullptr, nullptr, &height);
        if (height >= minHeight && height <= maxHeight) heights.push_back(height);
    }
    boxaDestroy(&boxes);
    if (heights.empty()) return {};
    const std::size_t count = heights.size();
    return {.count = count, .height = static_cast<int>(median(std::move(heights)))};
}

double uprightness(const CleanedPage& straight)
{
    constexpr int minLetters = 20;
    l_float32 confidence = 0;
    if (pixUpDownDetect(straight.ink.get(), &confidence, minLetters, 0, 0) != 0) return 0;
    return static_cast<double>(confidence);
}

} // namespace korvane
