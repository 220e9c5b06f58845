#include "document/DocumentNormalizer.h"

#include <gtest/gtest.h>

namespace korvane {

namespace {

auto normalize(const Data& document)
{
    return DocumentNormalizer::normalize(document, recognizeFormat(document.text()));
}

} // namespace

TEST(DocumentNormalizer, HandsPDFOnUntouched)
{
    const Data document = Data::copying("%PDF and then rubbish");
    EXPECT_EQ(normalize(document), document);
    EXPECT_EQ(normalize(document)->bytes().data(), document.bytes().data());
}

TEST(DocumentNormalizer, QuotesTheFirstBytesOfWhatItRefuses)
{
    const std::pair<const char*, const char*> cases[] = {
        {"", ""},
        {"%PD", "25 50 44"},
        {"%pdf-1.4", "25 70 64 66 2D 31 2E 34"},
        {"\xEF\xBB\xBF%PDF-1.7", "EF BB BF 25 50 44 46 2D"},
        {"  %PDF-1.7", "20 20 25 50 44 46 2D 31"},
        {"%!PS-Adobe", "25 21 50 53 2D 41 64 6F"},
        {"UNIRAST", "55 4E 49 52 41 53 54"}};
    for (const auto& [document, quoted] : cases) {
        const auto pdf = normalize(Data::copying(std::string_view(document)));
        ASSERT_FALSE(pdf) << document;
        EXPECT_EQ(pdf.error().description(),
                  "Unrecognized document format (first bytes: " + std::string(quoted) + ")");
    }
}

} // namespace korvane
