#include "support/CupsRaster.h"
#include "support/DecodedRaster.h"
#include "support/Rendering.h"

#include <gmock/gmock.h>

#include <random>

namespace korvane {

namespace {

using test::CupsRaster;
using test::Raster;
using Bytes = std::vector<std::uint8_t>;

constexpr cups_mode_t urf = CUPS_RASTER_WRITE_APPLE;
constexpr cups_mode_t pwg = CUPS_RASTER_WRITE_PWG;

const std::string truncatedPWG = "PWG raster document is truncated.";
const std::string zeroPages = "Unsupported URF: zero pages";
const std::string badURFSize = "Unsupported URF: invalid page dimensions on page 0";

Result<Data, RasterError> decoded(const Data& document, const RasterLimits& limits = {})
{
    return PWGDecoder::isPWGRaster(document) ? test::decodedPWG(document, limits)
                                             : test::decodedURF(document, limits);
}

std::string errorOf(const Data& document, const RasterLimits& limits = {})
{
    const auto pdf = decoded(document, limits);
    return pdf ? "none" : pdf.error().errorDescription();
}

/** Every value there is, runs of all lengths, equal rows, and in the last third noise. */
Bytes drawn(const CupsRaster::Page& page)
{
    Bytes pixels(std::size_t{page.rowSize()} * page.height, 0xFF);
    const std::size_t quarter = pixels.size() / 4;
    for (std::size_t at = 0; at < quarter; ++at) pixels[at] = static_cast<std::uint8_t>(at);
    for (std::size_t length = 1, at = quarter; at + length < 2 * quarter; at += 4 * length++)
        std::fill_n(&pixels[at], length, static_cast<std::uint8_t>(7 * length));
    std::mt19937 random(7); // NOLINT: the same pixels in every run
    for (std::size_t at = 3 * quarter; at < pixels.size(); ++at)
        pixels[at] = static_cast<std::uint8_t>(random());
    return pixels;
}

/** What a screen shows for the pixels of the page. */
Bytes shown(const CupsRaster::Page& page, std::span<const std::uint8_t> pixels)
{
    Bytes colors;
    for (std::size_t y = 0; y < page.height; ++y) {
        const auto row = pixels.subspan(y * page.rowSize(), page.rowSize());
        for (std::size_t x = 0; x < page.width; ++x) {
            switch (page.colorSpace) {
            case CUPS_CSPACE_SRGB: colors.insert(colors.end(), &row[3 * x], &row[3 * x] + 3); break;
            case CUPS_CSPACE_K:
                colors.insert(colors.end(), 3, row[x / 8] << x % 8 & 0x80 ? 0 : 255);
                break;
            default: colors.insert(colors.end(), 3, test::shownGray(row[x], 2.2)); break;
            }
        }
    }
    return colors;
}

/** The document with one byte changed. */
Data changed(const Data& document, std::size_t offset, std::uint8_t value)
{
    Bytes bytes(document.bytes().begin(), document.bytes().end());
    bytes.at(offset) = value;
    return Data(bytes);
}

class ClientRasterRendering : public test::Rendering {};

constexpr CupsRaster::Page color{.width = 5, .height = 1};
constexpr CupsRaster::Page gray{.colorSpace = CUPS_CSPACE_SW, .width = 5, .height = 1};
constexpr CupsRaster::Page black{.colorSpace = CUPS_CSPACE_K, .width = 35, .height = 1};

} // namespace

TEST_F(ClientRasterRendering, ShowsEveryPixelThatLibcupsWrites)
{
    using Page = CupsRaster::Page;
    constexpr auto srgb = CUPS_CSPACE_SRGB, sw = CUPS_CSPACE_SW, k = CUPS_CSPACE_K;
    const struct {
        std::string name;
        cups_mode_t mode;
        unsigned pageCount;
        std::vector<Page> pages;
    } cases[] = {
        {"URF of unknown length", urf, 0, {{srgb, 200, 300, 300, 300}}},
        {"URF that tells its length", urf, 1, {{sw, 517, 131, 300, 300}}},
        {"URF of several pages", urf, 0, {{srgb, 131, 77}, {sw, 300, 200}, {srgb, 1, 1}}},
        {"and a page count", urf, 3, {{sw, 131, 77}, {srgb, 300, 200}, {sw, 3, 1000}}},
        {"PWG raster", pwg, 0, {{srgb, 200, 300, 300, 300}}},
        {"PWG raster of oblong pixels", pwg, 0, {{sw, 400, 100, 600, 300}}},
        {"PWG raster of bits", pwg, 0, {{k, 403, 211, 600, 600}}},
        {"PWG raster of several pages",
         pwg,
         4,
         {{k, 8, 9}, {srgb, 131, 77}, {sw, 9, 2}, {k, 1, 1}}},
    };
    for (const auto& [name, mode, pageCount, pages] : cases) {
        SCOPED_TRACE(name);
        CupsRaster raster(mode, pageCount);
        for (const Page& page : pages) raster.page(page, drawn(page));
        const auto pdf = decoded(raster.document());
        ASSERT_TRUE(pdf) << pdf.error().errorDescription();
        const std::vector<Raster> rendered =
            render(*pdf, pages[0].horizontalResolution, pages[0].verticalResolution);
        ASSERT_EQ(rendered.size(), pages.size());
        for (std::size_t i = 0; i < pages.size(); ++i) {
            EXPECT_EQ(rendered[i].width, pages[i].width);
            EXPECT_EQ(rendered[i].pixels, shown(pages[i], drawn(pages[i]))) << "page " << i;
        }
    }
}

TEST_F(ClientRasterRendering, ShowsWhatEveryCodeOfALineStandsFor)
{
    const struct {
        std::string name;
        CupsRaster::Page page;
        Bytes line;
        Bytes pixels;
    } cases[] = {
        {"white from the start", gray, {0, 128}, {255, 255, 255, 255, 255}},
        {"white after a run", gray, {0, 1, 7, 128}, {7, 7, 255, 255, 255}},
        {"repeat past the end is cut", gray, {0, 0, 1, 127, 9}, {1, 9, 9, 9, 9}},
        {"literals past the end are cut", gray, {0, 1, 3, 252, 4, 5, 6, 7, 8}, {3, 3, 4, 5, 6}},
        {"literals to the end", gray, {0, 252, 1, 2, 3, 4, 5}, {1, 2, 3, 4, 5}},
        {"repeated line past the last is cut", gray, {255, 4, 8}, {8, 8, 8, 8, 8}},
        {"color repeat, then white",
         color,
         {0, 2, 1, 2, 3, 128},
         {1, 2, 3, 1, 2, 3, 1, 2, 3, 255, 255, 255, 255, 255, 255}},
        {"color literals past the end",
         color,
         {0, 3, 9, 8, 7, 255, 1, 2, 3, 4, 5, 6},
         {9, 8, 7, 9, 8, 7, 9, 8, 7, 9, 8, 7, 1, 2, 3}},
        {"white bits", black, {0, 255, 0xF0, 0x81, 128}, {0xF0, 0x81, 0, 0, 0}},
        {"repeated bytes of bits", black, {0, 1, 0xA5, 3, 0x11}, {0xA5, 0xA5, 0x11, 0x11, 0x11}},
    };
    for (const cups_mode_t mode : {urf, pwg}) {
        // Each page but the first shows that exactly the bytes of the one before were used up.
        CupsRaster raster(mode);
        std::vector<Bytes> expected;
        std::vector<std::string> names;
        for (const auto& [name, page, line, pixels] : cases) {
            if (mode == urf && page.colorSpace == CUPS_CSPACE_K) continue;
            raster.page(page, {}).raw(line);
            expected.push_back(shown(page, pixels));
            names.push_back(name);
        }
        ASSERT_EQ(errorOf(raster.document()), "none");
        const std::vector<Raster> pages = render(decoded(raster.document()).value());
        ASSERT_EQ(pages.size(), expected.size());
        for (std::size_t i = 0; i < pages.size(); ++i)
            EXPECT_EQ(pages[i].pixels, expected[i]) << names[i];
    }
}

TEST(ClientRaster, IsTakenWholeOrNotAtAll)
{
    const struct {
        cups_mode_t mode;
        unsigned pageCount;
        std::string error;
    } cases[] = {{urf, 0, zeroPages}, {urf, 2, badURFSize}, {pwg, 0, truncatedPWG}};
    for (const auto& [mode, pageCount, error] : cases) {
        CupsRaster raster(mode, pageCount);
        raster.page({.width = 9, .height = 40}, drawn({.width = 9, .height = 40}));
        const std::size_t firstPage = raster.document().size();
        const Data document = raster.page(gray, drawn(gray)).document();
        ASSERT_EQ(errorOf(document), "none");
        const std::size_t magic = mode == urf ? 8 : 4;
        for (std::size_t size = magic; size < document.size(); ++size) {
            const bool endsWithAPage = size == firstPage && pageCount == 0;
            // A first header that is cut could be the start of either layout.
            const bool isCutEarly = mode == urf && size < 12 + (pageCount == 0 ? 0 : 28);
            EXPECT_EQ(errorOf(document.slice(0, size)), endsWithAPage ? "none"
                                                        : isCutEarly  ? "URF document is truncated."
                                                                      : error)
                << size << " bytes of " << document.size();
        }
        EXPECT_EQ(errorOf(raster.raw({{0}}).document()), error) << "a byte behind the last page";
    }
}

TEST(ClientRaster, IsRefusedWithAHeaderThatMakesNoSense)
{
    const Data urfPage = CupsRaster(urf).page(gray, drawn(gray)).document();
    const Data pwgPage = CupsRaster(pwg).page(gray, drawn(gray)).document();
    const std::string unsupported = "Unsupported PWG raster: ";
    const std::string badSize = unsupported + "invalid page dimensions on page 0";
    const struct {
        const Data& document;
        std::size_t offset;
        std::uint8_t value;
        std::string error;
    } cases[] = {
        {urfPage, 11, 2, badURFSize},
        {urfPage, 12, 32, zeroPages},
        {urfPage, 13, 3, zeroPages},
        {urfPage, 12 + 15, 0, zeroPages},
        {urfPage, 12 + 19, 0, zeroPages},
        {urfPage, 12 + 23, 0, zeroPages},
        {urfPage, 12 + 12, 1, zeroPages},
        {urfPage, 12 + 24, 1, zeroPages},
        {urfPage, 12 + 31, 1, zeroPages},
        {pwgPage, 4 + 375, 0, badSize},
        {pwgPage, 4 + 379, 0, badSize},
        {pwgPage, 4 + 279, 72, "none"},
        {pwgPage, 4 + 279, 0, badSize},
        {pwgPage, 4 + 283, 0, badSize},
        {pwgPage, 4 + 391, 16, unsupported + "bpp=16 colorSpace=18 on page 0"},
        {pwgPage, 4 + 403, 6, unsupported + "bpp=8 colorSpace=6 on page 0"},
        {pwgPage, 4 + 395, 6, unsupported + "bytesPerLine=6 on page 0"},
        {pwgPage, 4 + 399, 1, unsupported + "colorOrder=1 on page 0"},
        {pwgPage, 4 + 376, 255, unsupported + "page 0 too large: 5 x 4278190081 pixels"},
        {pwgPage, 3, '3', "Document is not URF."},
    };
    for (const auto& [document, offset, value, error] : cases)
        EXPECT_EQ(errorOf(changed(document, offset, value)), error) << offset;
}

} // namespace korvane
