#include "lib/poppler/PDFReader.h"

#include "support/TestPDF.h"

#include <gtest/gtest.h>

namespace korvane {
namespace {

PDFReader open(const std::string& pageEntries, const std::string& content = "")
{
    auto reader = PDFReader::open(Data::copying(
        makePDF({"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                 "<< /Type /Page /Parent 2 0 R /Contents 4 0 R " + pageEntries + " >>",
                 pdfStream(content)})));
    EXPECT_TRUE(reader);
    return std::move(*reader);
}

TEST(PDFReader, RendersPagesToTheNearestPixelWithinBounds)
{
    struct Case {
        const char* box;
        double resolution;
        BitmapSize size;
    };
    const Case cases[] = {
        {"0 0 612 792", 200, {1700, 2200, 200}},
        {"0 0 595.276 841.89", 200, {1654, 2339, 200}},
        {"0 0 0.1 792", 200, {}},
        {"0 0 0.25 72", 144, {1, 144, 144}},
        {"0 0 14400 14400", 200, {10000, 10000, 50}},
        {"0 0 72 14400000", 200, {}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.box);
        const auto bitmap =
            open("/MediaBox [" + std::string(each.box) + "]").render(0, each.resolution);
        EXPECT_EQ(bitmap ? bitmap->size : BitmapSize(), each.size);
    }
    EXPECT_FALSE(open("/MediaBox [0 0 72 72]").render(1, 200));
}

TEST(PDFReader, ShowsTheWholeMediaBoxAsAViewerTurnsIt)
{
    struct Case {
        const char* name;
        std::string entries;
        int width;
        /** Where the mark's upper left corner shows; none when it does not. */
        int x;
        int y;
    };
    // A mark of 10 x 10 points, 30 from the left and 20 from below, on a page of 100 x 200.
    const std::string page = "/MediaBox [100 50 200 250] ";
    const std::string crop = "/CropBox [120 60 190 200] ";
    const Case cases[] = {
        {"upright", page, 100, 30, 170},
        {"turned by 90", page + "/Rotate 90", 200, 20, 30},
        {"turned by 180", page + "/Rotate 180", 100, 60, 20},
        {"turned by 270", page + "/Rotate 270", 200, 170, 60},
        {"turned by -90", page + "/Rotate -90", 200, 170, 60},
        {"cropped", page + crop, 100, 30, 170},
        {"cropped, turned by 90", page + crop + "/Rotate 90", 200, 20, 30},
        {"cropped, turned by 180", page + crop + "/Rotate 180", 100, 60, 20},
        {"cropped, turned by 270", page + crop + "/Rotate 270", 200, 170, 60},
        {"cropped away", page + "/CropBox [150 150 190 200]", 100, -1, -1},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const PDFReader reader = open(each.entries, "1 0 0 rg 130 70 10 10 re f");
        const auto bitmap = reader.render(0, 72);
        ASSERT_TRUE(bitmap);
        EXPECT_EQ(bitmap->size, (BitmapSize{each.width, 300 - each.width, 72}));
        int dark = 0, x = -1, y = -1;
        for (int row = bitmap->size.height - 1; row >= 0; --row) {
            const auto pixels = bitmap->row(row);
            for (int column = bitmap->size.width - 1; column >= 0; --column) {
                if (pixels[static_cast<std::size_t>(column)] > 128) continue;
                ++dark;
                x = column;
                y = row;
            }
        }
        EXPECT_EQ(dark, each.x < 0 ? 0 : 100);
        EXPECT_EQ(x, each.x);
        EXPECT_EQ(y, each.y);
        const PageInfo info = reader.readPage(0);
        EXPECT_EQ(info.mediaBox, (PDFRect{100, 50, 100, 200}));
    }
}

} // namespace
} // namespace korvane
