#include "raster/URFDecoder.h"

#include "support/DecodedRaster.h"
#include "support/Rendering.h"
#include "support/URFBuilder.h"

#include <gmock/gmock.h>

#include <random>

namespace korvane {

namespace {

using test::decodedURF;
using test::Raster;
using test::shownGray;
using test::URFBuilder;
using test::URFPage;
using testing::HasSubstr;

constexpr URFPage gray{.bitsPerPixel = 8, .colorSpace = 1, .width = 5, .height = 1};

URFPage sized(URFPage page, std::uint32_t width, std::uint32_t height,
              std::uint32_t resolution = 72)
{
    return {page.bitsPerPixel, page.colorSpace, width, height, resolution};
}

std::string errorOf(const Data& document, const URFDecoder::Limits& limits = {})
{
    const auto pdf = decodedURF(document, limits);
    return pdf ? "none" : pdf.error().errorDescription();
}

/** White with gray bars of all widths, and in the last rows noise, which no coding makes smaller.
 */
Raster printed(std::uint32_t width, std::uint32_t height, std::size_t bytesPerPixel,
               std::uint32_t noisyRows)
{
    Raster raster{.width = width, .height = height, .bytesPerPixel = bytesPerPixel};
    const std::size_t end = (height - noisyRows) * raster.rowSize();
    std::fill_n(raster.pixels.begin(), end, std::uint8_t{255});
    for (std::size_t length = 1, at = raster.rowSize(); at + length < end;
         at += 5 * length++ + 40) {
        std::fill_n(&raster.pixels[at], length, static_cast<std::uint8_t>(length));
    }
    std::mt19937 random(7); // NOLINT: the same pixels in every run
    for (std::size_t at = end; at < raster.pixels.size(); ++at)
        raster.pixels[at] = static_cast<std::uint8_t>(random());
    return raster;
}

/** What a screen shows for pixels that are sRGB or linear gray. */
std::vector<std::uint8_t> shown(const Raster& raster)
{
    std::vector<std::uint8_t> pixels;
    for (const std::uint8_t value : raster.pixels) {
        const bool isGray = raster.bytesPerPixel == 1;
        pixels.insert(pixels.end(), isGray ? 3 : 1, isGray ? shownGray(value, 1) : value);
    }
    return pixels;
}

class URFRendering : public test::Rendering {};

} // namespace

TEST_F(URFRendering, ShowsWhatEveryCodeOfALineStandsFor)
{
    const struct {
        std::string name;
        URFPage page;
        std::initializer_list<std::uint8_t> data;
        std::vector<std::uint8_t> pixels;
    } cases[] = {
        {"literal run to the end", gray, {0, 4, 1, 2, 3, 4, 5}, {1, 2, 3, 4, 5}},
        {"fill at the start is black", gray, {0, 128}, {0, 0, 0, 0, 0}},
        {"fill after one pixel", gray, {0, 0, 7, 128}, {7, 7, 7, 7, 7}},
        {"fill after a literal run", gray, {0, 1, 7, 8, 128}, {7, 8, 8, 8, 8}},
        {"fill after a repeat", gray, {0, 0, 1, 255, 9, 128}, {1, 9, 9, 9, 9}},
        {"repeat of two, then three", gray, {0, 255, 1, 254, 2}, {1, 1, 2, 2, 2}},
        {"repeat of 128 is cut", gray, {0, 129, 6}, {6, 6, 6, 6, 6}},
        {"every line starts black", sized(gray, 2, 2), {0, 1, 5, 6, 0, 128}, {5, 6, 0, 0}},
        {"repeated lines", sized(gray, 2, 3), {1, 1, 5, 6, 0, 255, 7}, {5, 6, 5, 6, 7, 7}},
        {"repeat past the last line is cut", sized(gray, 1, 3), {255, 0, 5}, {5, 5, 5}},
        {"color repeat", sized({}, 3, 1), {0, 254, 1, 2, 3}, {1, 2, 3, 1, 2, 3, 1, 2, 3}},
        {"color fill", sized({}, 3, 1), {0, 0, 1, 2, 3, 128}, {1, 2, 3, 1, 2, 3, 1, 2, 3}},
        {"color literals", sized({}, 2, 1), {0, 1, 1, 2, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6}},
    };
    // Each page but the first shows that exactly the bytes of the one before were used up.
    URFBuilder document(std::size(cases));
    for (const auto& line : cases) document.page(line.page).raw(line.data);
    ASSERT_EQ(errorOf(document.build()), "none");
    const std::vector<Raster> pages = render(decodedURF(document.build()).value());
    ASSERT_EQ(pages.size(), std::size(cases));
    for (std::size_t i = 0; i < pages.size(); ++i) {
        const Raster expected{cases[i].page.width, cases[i].page.height,
                              cases[i].page.bitsPerPixel / 8, cases[i].pixels};
        EXPECT_EQ(pages[i].pixels, shown(expected)) << cases[i].name;
    }
}

TEST_F(URFRendering, ShowsEveryPixelOfEveryPageAtItsResolution)
{
    // Text shrinks when its runs are coded, noise does not, and the last but one page changes its
    // kind where half of its image's size is used up.
    const std::string runLength = "[/FlateDecode /RunLengthDecode]";
    const std::pair<Raster, std::string> cases[] = {
        {printed(400, 300, 3, 0), runLength},        {printed(300, 200, 3, 200), "/FlateDecode"},
        {printed(517, 300, 1, 0), runLength},        {printed(131, 77, 1, 77), "/FlateDecode"},
        {printed(389, 400, 3, 350), "/FlateDecode"}, {printed(389, 400, 3, 60), runLength}};
    std::vector<std::vector<std::uint8_t>> expected;
    for (const auto& [raster, filter] : cases) expected.push_back(shown(raster));
    for (const std::uint32_t resolution : {72U, 200U, 300U, 600U}) {
        URFBuilder document(std::size(cases));
        for (const auto& [raster, filter] : cases) document.page(raster, resolution);
        document.raw({'t', 'r', 'a', 'i', 'l', 'e', 'r'});
        const Data pdf = decodedURF(document.build()).value();
        const std::vector<Raster> pages = render(pdf, resolution);
        ASSERT_EQ(pages.size(), std::size(cases));
        std::string_view rest = pdf.text();
        for (std::size_t i = 0; i < pages.size(); ++i) {
            SCOPED_TRACE(testing::Message() << "page " << i << " at " << resolution);
            EXPECT_EQ(pages[i].width, cases[i].first.width);
            EXPECT_TRUE(pages[i].pixels == expected[i]);
            rest.remove_prefix(rest.find("/Filter ") + 8);
            EXPECT_TRUE(rest.starts_with(cases[i].second));
        }
        // The pages share two color spaces.
        EXPECT_LT(pdf.text().rfind("/ICCBased"), pdf.text().find("/Width 131"));
    }
}

TEST(URFDecoder, SaysWhyItRefusesADocument)
{
    const auto second = [](const URFPage& page) {
        return URFBuilder(2).page(gray).raw({0, 128}).page(page).raw({0}).build();
    };
    const std::string truncated = "URF document is truncated.", unsupported = "Unsupported URF: ";
    const std::string badSize = unsupported + "invalid page dimensions on page 1";
    const std::string overflow = unsupported + "URF literal run overflows line";
    const std::pair<Data, std::string> cases[] = {
        {URFBuilder(0).build(), unsupported + "zero pages"},
        {URFBuilder(2).page(gray).raw({0, 128}).build(), truncated},
        {second({24, 1, 2, 1}), unsupported + "bpp=24 colorSpace=1 on page 1"},
        {second({8, 3, 1, 1}), unsupported + "bpp=8 colorSpace=3 on page 1"},
        {second({32, 6, 1, 1}), unsupported + "bpp=32 colorSpace=6 on page 1"},
        {second({1, 1, 0, 1}), badSize},
        {second(sized(gray, 1, 0)), badSize},
        {second(sized(gray, 1, 1, 0)), badSize},
        // The run is too long whether or not its pixels are there.
        {URFBuilder(1).page(sized(gray, 100, 1)).raw({0, 127}).build(), overflow},
        {URFBuilder(1).page(sized({}, 2, 1)).raw({0, 0, 1, 2, 3, 1, 1, 2, 3, 4, 5, 6}).build(),
         overflow},
        // A header cut short is told from a page of the wrong kind.
        {URFBuilder(1).page({99, 9, 0, 0, 0}).build().slice(0, 12 + 27), truncated},
        // No memory can hold these,
        {second(sized({}, 4294967295, 4294967295)),
         unsupported + "page 1 too large: 4294967295 x 4294967295 pixels"},
        {second(sized(gray, 1 << 30, 2)), unsupported + "page 1 too large: 1073741824 x 2 pixels"},
        {second(sized({}, 1, 89478486)), unsupported + "page 1 too large: 1 x 89478486 pixels"},
        // and these are just as large as a page may be.
        {second(sized(gray, 1 << 14, 1 << 14)), truncated},
        {second(sized({}, 89478485, 1)), truncated}};
    for (const auto& [document, error] : cases) EXPECT_EQ(errorOf(document), error);
    for (std::size_t i = 0; i < 8; ++i) {
        std::string other(cases[0].first.text());
        other[i] ^= 0x20;
        EXPECT_EQ(errorOf(Data::copying(other)), "Document is not URF.") << i;
    }
}

TEST(URFDecoder, GivesThePageItsSizeAtTheRastersResolution)
{
    const std::pair<URFPage, std::string> cases[] = {
        {sized(gray, 1000, 500, 200), "[0 0 360 180]"},
        {sized(gray, 2550, 3300, 300), "[0 0 612 792]"},
        {sized(gray, 2560, 1, 300), "[0 0 614.4 0.24]"},
        {sized(gray, 1, 1, 7), "[0 0 10.285714285714286 10.285714285714286]"},
        {sized(gray, 1, 2000000, 1), "[0 0 72 144000000]"},
        {sized(gray, 1, 3, 4294967295),
         "[0 0 0.00000001676380634698174 0.00000005029141904094522]"}};
    for (const auto& [page, mediaBox] : cases) {
        URFBuilder document(1);
        document.page(page);
        for (std::uint32_t y = 0; y < page.height; y += 256) document.raw({255, 128});
        const Data pdf = decodedURF(document.build()).value();
        EXPECT_NE(pdf.text().find("/MediaBox " + mediaBox), std::string_view::npos) << mediaBox;
    }
}

TEST(URFDecoder, BoundsWhatAllPagesTogetherMayCost)
{
    URFBuilder builder(3);
    for (int i = 0; i < 3; ++i) builder.page(sized(gray, 100, 100)).raw({99, 128});
    const Data document = builder.build();
    EXPECT_EQ(errorOf(document, {.documentRaster = 30000}), "none");
    EXPECT_EQ(errorOf(document, {.documentRaster = 29999}),
              "Unsupported URF: document too large at page 2");
    EXPECT_EQ(errorOf(document, {.pageRaster = 9999}),
              "Unsupported URF: page 0 too large: 100 x 100 pixels");
    EXPECT_THAT(errorOf(document, {.pdf = 1500}), HasSubstr("PDF too large at page "));
}

TEST(URFDecoder, WritesPageByPageAndEndsWhenItCannotWrite)
{
    std::vector<std::size_t> pieces;
    const Raster noise = printed(700, 900, 3, 900);
    URFBuilder document(3);
    for (int page = 0; page < 3; ++page) document.page(noise, 300);
    const auto failSecond = [&](std::span<const std::uint8_t> bytes) -> Result<void, SystemError> {
        pieces.push_back(bytes.size());
        if (pieces.size() == 2) return failure(SystemError{ENOSPC});
        return {};
    };
    const auto written = URFDecoder::decodeToPDF(document.build(), failSecond);
    const auto* error = std::get_if<URFDecoder::Error::NotWritten>(&written.error().value);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->error.code, ENOSPC);
    EXPECT_EQ(pieces.size(), 2U);
    EXPECT_GT(pieces[1], noise.pixels.size() / 2) << "the image of the first page alone";
    EXPECT_LT(pieces[1], 2 * noise.pixels.size());
}

} // namespace korvane
