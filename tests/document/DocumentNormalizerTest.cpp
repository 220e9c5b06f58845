#include "document/DocumentNormalizer.h"

#include "support/RasterPDFReader.h"
#include "support/URFBuilder.h"

#include <gtest/gtest.h>

namespace korvane {

TEST(DocumentNormalizer, HandsPDFOnUntouched)
{
    for (const std::string_view text : {"%PDF", "%PDF-1.4 and then rubbish"}) {
        const Data document = Data::copying(text);
        const auto pdf = DocumentNormalizer::normalize(document);
        ASSERT_TRUE(pdf);
        EXPECT_EQ(pdf->bytes().data(), document.bytes().data());
        EXPECT_EQ(pdf->size(), document.size());
    }
}

TEST(DocumentNormalizer, ConvertsRaster)
{
    const test::Raster raster{.width = 3, .height = 2};
    const auto pdf = DocumentNormalizer::normalize(test::URFBuilder(1).page(raster, 72).build());
    ASSERT_TRUE(pdf);
    EXPECT_EQ(test::readRasterPDF(*pdf).front().raster.pixels, raster.pixels);
}

TEST(DocumentNormalizer, QuotesTheFirstBytesOfWhatItRefuses)
{
    const struct {
        std::string document;
        std::string description;
    } cases[] = {
        {"", "Unrecognized document format (first bytes: )"},
        {"%PD", "Unrecognized document format (first bytes: 25 50 44)"},
        {"%pdf-1.4", "Unrecognized document format (first bytes: 25 70 64 66 2D 31 2E 34)"},
        {"\xEF\xBB\xBF%PDF-1.7",
         "Unrecognized document format (first bytes: EF BB BF 25 50 44 46 2D)"},
        {"  %PDF-1.7", "Unrecognized document format (first bytes: 20 20 25 50 44 46 2D 31)"},
        {"%!PS-Adobe", "Unrecognized document format (first bytes: 25 21 50 53 2D 41 64 6F)"},
        {std::string(20, '\0'),
         "Unrecognized document format (first bytes: 00 00 00 00 00 00 00 00)"},
        {"UNIRAST", "Unrecognized document format (first bytes: 55 4E 49 52 41 53 54)"},
        {std::string("UNIRAST\0\0\0\0\0", 12), "URF decode failed: Unsupported URF: zero pages"},
        {std::string("UNIRAST\0", 8), "URF decode failed: URF document is truncated."},
    };
    for (const auto& refused : cases) {
        SCOPED_TRACE(refused.description);
        const auto pdf = DocumentNormalizer::normalize(Data::copying(refused.document));
        ASSERT_FALSE(pdf);
        EXPECT_EQ(pdf.error().description(), refused.description);
    }
}

} // namespace korvane
