#include "document/URFDecoder.h"

#include "support/RasterPDFReader.h"
#include "support/TestRasters.h"
#include "support/URFBuilder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace korvane {

namespace {

using test::Raster;
using test::RasterPDFPage;
using test::readRasterPDF;
using test::URFBuilder;
using test::URFPage;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr URFPage gray{.bitsPerPixel = 8, .colorSpace = 1, .width = 5, .height = 1};

std::string errorOf(const Data& document, const URFDecoder::Limits& limits = {})
{
    const auto pdf = URFDecoder::decodeToPDF(document, limits);
    return pdf ? "none" : pdf.error().errorDescription();
}

std::vector<RasterPDFPage> pagesOf(const Data& document)
{
    const auto pdf = URFDecoder::decodeToPDF(document);
    if (!pdf) throw std::runtime_error(pdf.error().errorDescription());
    return readRasterPDF(*pdf);
}

URFPage sized(URFPage page, std::uint32_t width, std::uint32_t height,
              std::uint32_t resolution = 300)
{
    page.width = width;
    page.height = height;
    page.resolution = resolution;
    return page;
}

} // namespace

TEST(URFDecoder, KnowsItsDocumentsByTheirFirstEightBytes)
{
    const Data document = URFBuilder(1).build();
    EXPECT_TRUE(URFDecoder::isURF(document.slice(0, 8)));
    EXPECT_FALSE(URFDecoder::isURF(document.slice(0, 7)));
    for (std::size_t i = 0; i < 8; ++i) {
        SCOPED_TRACE(i);
        std::string other(document.text());
        other[i] ^= 0x20;
        EXPECT_FALSE(URFDecoder::isURF(Data::copying(other)));
        EXPECT_EQ(errorOf(Data::copying(other)), "Document is not URF.");
    }
}

TEST(URFDecoder, SaysWhyItRefusesADocument)
{
    const URFPage color = sized({}, 2, 1);
    const struct {
        Data document;
        std::string error;
    } cases[] = {
        {Data(), "Document is not URF."},
        {URFBuilder(1).build().slice(0, 11), "URF document is truncated."},
        {URFBuilder(0).build(), "Unsupported URF: zero pages"},
        {URFBuilder(2).page(gray).raw({0, 128}).build(), "URF document is truncated."},
        {URFBuilder(1).page(sized({.colorSpace = 1}, 2, 1)).build(),
         "Unsupported URF: bpp=24 colorSpace=1 on page 0"},
        {URFBuilder(2).page(gray).raw({0, 128}).page({8, 3, 1, 1, 300}).build(),
         "Unsupported URF: bpp=8 colorSpace=3 on page 1"},
        {URFBuilder(1).page({32, 6, 1, 1, 300}).build(),
         "Unsupported URF: bpp=32 colorSpace=6 on page 0"},
        {URFBuilder(2).page(gray).raw({0, 128}).page({1, 1, 0, 1, 300}).build(),
         "Unsupported URF: invalid page dimensions on page 1"},
        {URFBuilder(1).page(sized(gray, 1, 0)).build(),
         "Unsupported URF: invalid page dimensions on page 0"},
        {URFBuilder(1).page(sized(gray, 1, 1, 0)).build(),
         "Unsupported URF: invalid page dimensions on page 0"},
        // The run is too long whether or not its pixels are there.
        {URFBuilder(1).page(sized(gray, 100, 1)).raw({0, 127}).build(),
         "Unsupported URF: URF literal run overflows line"},
        {URFBuilder(1).page(color).raw({0, 0, 1, 2, 3, 1, 1, 2, 3, 4, 5, 6}).build(),
         "Unsupported URF: URF literal run overflows line"},
        // A header and a page cut short are told from a page of the wrong kind.
        {URFBuilder(1).page({99, 9, 0, 0, 0}).build().slice(0, 12 + 27),
         "URF document is truncated."},
    };
    for (const auto& refused : cases) {
        SCOPED_TRACE(refused.error);
        EXPECT_EQ(errorOf(refused.document), refused.error);
    }
}

TEST(URFDecoder, ReadsEveryCodeOfALine)
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
        {"colour repeat", sized({}, 3, 1), {0, 254, 1, 2, 3}, {1, 2, 3, 1, 2, 3, 1, 2, 3}},
        {"colour fill", sized({}, 3, 1), {0, 0, 1, 2, 3, 128}, {1, 2, 3, 1, 2, 3, 1, 2, 3}},
        {"colour literals", sized({}, 2, 1), {0, 1, 1, 2, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6}},
    };
    for (const auto& line : cases) {
        SCOPED_TRACE(line.name);
        // The page behind it shows that exactly the page's bytes were used up.
        const Data document =
            URFBuilder(2).page(line.page).raw(line.data).page(gray).raw({0, 129, 3}).build();
        const std::vector<RasterPDFPage> pages = pagesOf(document);
        ASSERT_EQ(pages.size(), 2U);
        EXPECT_THAT(pages[0].raster.pixels, ElementsAreArray(line.pixels));
        EXPECT_THAT(pages[1].raster.pixels, ElementsAreArray({3, 3, 3, 3, 3}));
    }
}

TEST(URFDecoder, FillsOneLineOfTenFromOneCodedLine)
{
    const Data document = URFBuilder(2)
                              .page(sized({}, 300, 10))
                              .raw({255, 0, 1, 2, 3, 129, 4, 5, 6, 128})
                              .page(gray)
                              .raw({0, 128})
                              .build();
    const std::vector<RasterPDFPage> pages = pagesOf(document);
    ASSERT_EQ(pages.size(), 2U);
    for (std::size_t y = 0; y < 10; ++y) {
        EXPECT_EQ(pages[0].raster.row(y)[0], 1);
        EXPECT_EQ(pages[0].raster.row(y)[3], 4);
        EXPECT_EQ(pages[0].raster.row(y)[899], 6);
    }
}

TEST(URFDecoder, GivesThePageItsSizeAtTheRastersResolution)
{
    const struct {
        std::uint32_t width, height, resolution;
        std::string mediaBox;
    } cases[] = {
        {1000, 500, 200, "[0 0 360 180]"},
        {2550, 3300, 300, "[0 0 612 792]"},
        {2560, 1, 300, "[0 0 614.4 0.24]"},
        {1, 1, 7, "[0 0 10.285714285714286 10.285714285714286]"},
        {1, 2000000, 1, "[0 0 72 144000000]"},
        {1, 3, 4294967295, "[0 0 0.00000001676380634698174 0.00000005029141904094522]"},
    };
    for (const auto& size : cases) {
        SCOPED_TRACE(size.mediaBox);
        URFBuilder document(1);
        document.page(sized(gray, size.width, size.height, size.resolution));
        for (std::uint32_t y = 0; y < size.height; y += 256) document.raw({255, 128});
        EXPECT_EQ(pagesOf(document.build()).front().mediaBox, size.mediaBox);
    }
}

TEST(URFDecoder, KeepsEveryPixelOfEveryPage)
{
    // Text shrinks when its runs are coded, noise does not, and the last but one page changes its
    // kind where half of its image's size is used up.
    const struct {
        Raster raster;
        std::string filter;
    } cases[] = {
        {test::letter(400, 300, 3), "[/FlateDecode /RunLengthDecode]"},
        {test::noise(301, 200, 3), "/FlateDecode"},
        {test::letter(517, 300, 1), "[/FlateDecode /RunLengthDecode]"},
        {test::noise(131, 77, 1), "/FlateDecode"},
        {test::letter(389, 400, 3, 350), "/FlateDecode"},
        {test::letter(389, 400, 3, 60), "[/FlateDecode /RunLengthDecode]"},
    };
    URFBuilder document(std::size(cases));
    for (const auto& page : cases) document.page(page.raster, 300);
    document.raw({'t', 'r', 'a', 'i', 'l', 'e', 'r'});

    const std::vector<RasterPDFPage> pages = pagesOf(document.build());
    ASSERT_EQ(pages.size(), std::size(cases));
    for (std::size_t i = 0; i < pages.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(pages[i].raster.width, cases[i].raster.width);
        EXPECT_EQ(pages[i].raster.bytesPerPixel, cases[i].raster.bytesPerPixel);
        EXPECT_TRUE(pages[i].raster.pixels == cases[i].raster.pixels);
        EXPECT_EQ(pages[i].filter, cases[i].filter);
    }
}

TEST(URFDecoder, SharesTheColorSpacesAndTellsNothingElse)
{
    URFBuilder document(4);
    for (int i = 0; i < 2; ++i)
        document.page(gray).raw({0, 128}).page(sized({}, 1, 1)).raw({0, 128});
    const Data pdf = URFDecoder::decodeToPDF(document.build()).value();
    const std::vector<RasterPDFPage> pages = readRasterPDF(pdf);
    EXPECT_EQ(pages[0].colorSpace, pages[2].colorSpace);
    EXPECT_EQ(pages[1].colorSpace, pages[3].colorSpace);
    EXPECT_NE(pages[0].colorSpace, pages[1].colorSpace);
    EXPECT_THAT(std::string(pdf.text()), Not(HasSubstr("/Info")));
}

TEST(URFDecoder, RefusesADocumentCutAnywhere)
{
    const Data document = URFBuilder(2)
                              .page(test::letter(40, 12, 3, 2), 300)
                              .page(test::letter(40, 12, 1, 2), 300)
                              .build();
    ASSERT_EQ(errorOf(document), "none");
    for (std::size_t size = 0; size < document.size(); ++size) {
        SCOPED_TRACE(size);
        // A copy of its own, so that a sanitizer sees a read behind the end.
        EXPECT_EQ(errorOf(Data::copying(document.slice(0, size).bytes())),
                  size < 8 ? "Document is not URF." : "URF document is truncated.");
    }
}

TEST(URFDecoder, RefusesAPageThatNoMemoryCanHold)
{
    const struct {
        URFPage page;
        std::string error;
    } cases[] = {
        {sized({}, 4294967295, 4294967295),
         "Unsupported URF: page 0 too large: 4294967295 x 4294967295 pixels"},
        {sized(gray, 1 << 30, 2), "Unsupported URF: page 0 too large: 1073741824 x 2 pixels"},
        {sized({}, 1, 89478486), "Unsupported URF: page 0 too large: 1 x 89478486 pixels"},
        // Just as large as a page may be, and refused for what it lacks.
        {sized(gray, 1 << 14, 1 << 14), "URF document is truncated."},
        {sized({}, 89478485, 1), "URF document is truncated."},
    };
    for (const auto& page : cases) {
        SCOPED_TRACE(page.error);
        EXPECT_EQ(errorOf(URFBuilder(1).page(page.page).raw({0}).build()), page.error);
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
    EXPECT_THAT(errorOf(document, {.pdf = 1500}),
                StartsWith("Unsupported URF: PDF too large at page "));
}

} // namespace korvane
