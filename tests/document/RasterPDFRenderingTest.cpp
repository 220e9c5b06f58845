// What other programs make of our documents.

#include "document/URFDecoder.h"
#include "support/TestRasters.h"
#include "support/URFBuilder.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace korvane {

namespace {

namespace fs = std::filesystem;
using test::Raster;

bool runs(const std::string& command)
{
    return std::system((command + " > /dev/null 2>&1").c_str()) == 0;
}

/** A folder of the test's own, with a document in it. */
class RasterPDFRendering : public testing::Test {
protected:
    void SetUp() override
    {
        folder_ = fs::temp_directory_path() / ("korvane-rendering-" + std::to_string(getpid()));
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }

    /** Writes the rasters as a document of `resolution` pixels an inch. */
    std::string write(std::initializer_list<Raster> pages, std::uint32_t resolution)
    {
        test::URFBuilder builder(static_cast<std::uint32_t>(pages.size()));
        for (const Raster& page : pages) builder.page(page, resolution);
        const Data pdf = URFDecoder::decodeToPDF(builder.build()).value();
        std::ofstream(path("document.pdf"), std::ios::binary) << pdf.text();
        return path("document.pdf");
    }

    /** The page as poppler shows it at its own resolution, in RGB. */
    Raster render(const std::string& pdf, int page, std::uint32_t resolution)
    {
        const std::string number = std::to_string(page);
        EXPECT_TRUE(runs("pdftoppm -singlefile -r " + std::to_string(resolution) + " -f " + number +
                         " " + pdf + " " + path("page")));
        std::ifstream file(path("page.ppm"), std::ios::binary);
        std::string magic;
        Raster raster;
        int largest = 0;
        file >> magic >> raster.width >> raster.height >> largest;
        file.get();
        raster.pixels.resize(raster.rowSize() * raster.height);
        file.read(reinterpret_cast<char*>(raster.pixels.data()),
                  static_cast<std::streamsize>(raster.pixels.size()));
        EXPECT_TRUE(file && magic == "P6");
        return raster;
    }

    std::string path(const std::string& name) const { return (folder_ / name).string(); }

private:
    fs::path folder_;
};

/** What a screen, whose colours are sRGB, shows for a linear grey. */
std::uint8_t shown(std::uint8_t gray)
{
    const double linear = gray / 255.0;
    const double encoded =
        linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
    return static_cast<std::uint8_t>(std::lround(255 * encoded));
}

} // namespace

TEST_F(RasterPDFRendering, IsSoundToQPDF)
{
    if (!runs("qpdf --version")) GTEST_SKIP() << "qpdf is not installed";
    const std::string pdf = write({test::letter(255, 330, 3), test::noise(256, 128, 1),
                                   test::letter(255, 330, 1), test::noise(3, 1, 3)},
                                  30);
    EXPECT_TRUE(runs("qpdf --check " + pdf));
    EXPECT_TRUE(runs("test $(qpdf --show-npages " + pdf + ") = 4"));
}

TEST_F(RasterPDFRendering, ShowsColorPixelForPixel)
{
    if (!runs("pdftoppm -v")) GTEST_SKIP() << "pdftoppm (poppler-utils) is not installed";
    for (const std::uint32_t resolution : {72U, 200U, 300U, 600U}) {
        SCOPED_TRACE(resolution);
        const Raster noise = test::noise(256, 330, 3);
        const Raster letter = test::letter(511, 330, 3);
        const std::string pdf = write({noise, letter}, resolution);
        EXPECT_TRUE(render(pdf, 1, resolution).pixels == noise.pixels);
        EXPECT_TRUE(render(pdf, 2, resolution).pixels == letter.pixels);
    }
}

TEST_F(RasterPDFRendering, ShowsGrayAsLinearLight)
{
    if (!runs("pdftoppm -v")) GTEST_SKIP() << "pdftoppm (poppler-utils) is not installed";
    Raster ramp{.width = 256, .height = 4, .bytesPerPixel = 1};
    for (std::size_t i = 0; i < ramp.pixels.size(); ++i) {
        ramp.pixels[i] = static_cast<std::uint8_t>(i);
    }
    const Raster page = render(write({ramp}, 72), 1, 72);
    ASSERT_EQ(page.width, ramp.width);
    ASSERT_EQ(page.height, ramp.height);
    for (std::size_t i = 0; i < page.pixels.size(); ++i) {
        ASSERT_EQ(page.pixels[i], shown(ramp.pixels[i / 3])) << "gray " << i / 3 % 256;
    }
}

} // namespace korvane
