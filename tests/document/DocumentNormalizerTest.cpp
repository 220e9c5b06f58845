#include "document/DocumentNormalizer.h"

#include <gtest/gtest.h>

namespace korvane {

TEST(DocumentNormalizer, HandsPDFOnUntouched)
{
    for (const std::string_view text : {"%PDF", "%PDF-1.4 and then rubbish"}) {
        const Data document = Data::copying(text);
        const Data pdf = DocumentNormalizer::normalize(document).value();
        EXPECT_EQ(pdf.bytes().data(), document.bytes().data());
        EXPECT_EQ(pdf.size(), document.size());
    }
}

TEST(DocumentNormalizer, QuotesTheFirstBytesOfWhatItRefuses)
{
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"%PD", "25 50 44"},
        {"%pdf-1.4", "25 70 64 66 2D 31 2E 34"},
        {"\xEF\xBB\xBF%PDF-1.7", "EF BB BF 25 50 44 46 2D"},
        {"  %PDF-1.7", "20 20 25 50 44 46 2D 31"},
        {"%!PS-Adobe", "25 21 50 53 2D 41 64 6F"},
        {std::string(20, '\0'), "00 00 00 00 00 00 00 00"},
        {"UNIRAST", "55 4E 49 52 41 53 54"}};
    for (const auto& [document, quoted] : cases) {
        const auto pdf = DocumentNormalizer::normalize(Data::copying(document));
        ASSERT_FALSE(pdf) << document;
        EXPECT_EQ(pdf.error().description(),
                  "Unrecognized document format (first bytes: " + quoted + ")");
    }
}

} // namespace korvane
