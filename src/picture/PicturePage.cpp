#include "picture/PicturePage.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace korvane {

namespace {

constexpr double pointsPerInch = 72;
/** Paper is measured in hundredths of a millimeter. */
constexpr double paperUnitsPerInch = 2540;

/** By the orientation, from 1 on. */
constexpr std::array<ImagePage::Turn, 8> turns = {{
    {1, 0, 0, 1, 0, 0},
    {-1, 0, 0, 1, 1, 0},
    {-1, 0, 0, -1, 1, 1},
    {1, 0, 0, -1, 0, 1},
    {0, -1, -1, 0, 1, 1},
    {0, -1, 1, 0, 0, 1},
    {0, 1, 1, 0, 0, 0},
    {0, 1, -1, 0, 1, 0},
}};

/** From there on the rows of the picture are columns of the page. */
constexpr std::size_t firstOnItsSide = 5;

double fit(double width, double height, double paperWidth, double paperHeight)
{
    return std::min(paperWidth / width, paperHeight / height);
}

double points(std::int32_t length)
{
    return length * pointsPerInch / paperUnitsPerInch;
}

} // namespace

ImagePage pageOf(const JPEGPicture& picture, const PaperSize& paper)
{
    const double across = pointsPerInch / picture.density.x;
    const double down = pointsPerInch / picture.density.y;
    ImagePage page{.width = static_cast<double>(picture.width) * across,
                   .height = static_cast<double>(picture.height) * down,
                   .pixel = std::min(across, down),
                   .turn = turns.at(picture.orientation - 1)};
    if (picture.orientation >= firstOnItsSide) std::swap(page.width, page.height);
    const double paperWidth = points(paper.width), paperHeight = points(paper.height);
    const double scale =
        std::min(1.0, std::max(fit(page.width, page.height, paperWidth, paperHeight),
                               fit(page.width, page.height, paperHeight, paperWidth)));
    for (double* const length : {&page.width, &page.height, &page.pixel}) *length *= scale;
    return page;
}

} // namespace korvane
