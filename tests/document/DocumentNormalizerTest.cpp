#include "document/DocumentNormalizer.h"

#include "support/FakeDocuments.h"
#include "support/TemporaryFolder.h"
#include "support/TestDocument.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <optional>

namespace korvane {
namespace {

class DocumentNormalizerTest : public testing::Test {
protected:
    Result<DocumentFile, DocumentNormalizer::NormalizeError> normalize(const DocumentFile& document)
    {
        std::optional<Result<DocumentFile, DocumentNormalizer::NormalizeError>> normalized;
        DocumentNormalizer::normalize(document, traits, documents, isSpoolBusy ? otherSpool : spool,
                                      [&](auto result) { normalized = std::move(result); });
        return *std::move(normalized);
    }

    std::string refusalOf(std::string_view document)
    {
        const auto pdf = normalize(documentFile(document));
        EXPECT_FALSE(pdf);
        if (pdf) return "none";
        EXPECT_EQ(pdf.error().isRefusal(), !isSpoolBusy && !workersFail) << document;
        return pdf.error().description();
    }

    TemporaryFolder folder;
    Spool spool{folder.path()};
    Spool otherSpool{folder.path()};
    FakeDocuments documents;
    DocumentTraits traits;
    bool isSpoolBusy = false;
    bool workersFail = false;
};

constexpr std::string_view raster("UNIRAST\0\0\0\0\1", 12);
constexpr std::string_view picture("\xFF\xD8\xFF\xE0");

TEST_F(DocumentNormalizerTest, HandsPDFOnUntouched)
{
    const DocumentFile document = documentFile("%PDF and then rubbish");
    const auto pdf = normalize(document);
    EXPECT_EQ(pdf->file, document.file);
    EXPECT_EQ(pdf->length, document.length);
}

TEST_F(DocumentNormalizerTest, QuotesTheFirstBytesOfWhatItRefuses)
{
    const std::pair<const char*, const char*> cases[] = {
        {"", ""},
        {"%PD", "25 50 44"},
        {"%pdf-1.4", "25 70 64 66 2D 31 2E 34"},
        {"\xEF\xBB\xBF%PDF-1.7", "EF BB BF 25 50 44 46 2D"},
        {"  %PDF-1.7", "20 20 25 50 44 46 2D 31"},
        {"%!PS-Adobe", "25 21 50 53 2D 41 64 6F"},
        {"UNIRAST", "55 4E 49 52 41 53 54"}};
    for (const auto& [document, quoted] : cases)
        EXPECT_EQ(refusalOf(document),
                  "Unrecognized document format (first bytes: " + std::string(quoted) + ")");
}

TEST_F(DocumentNormalizerTest, HasAWorkerConvertRastersAndTellsARefusalFromAFailure)
{
    EXPECT_EQ(contentOf(*normalize(documentFile(raster))), "%PDF-converted");
    using Kind = DocumentError::Kind;
    documents.conversionError = DocumentError{Kind::conversion, "URF document is truncated."};
    EXPECT_EQ(refusalOf(raster), "URF decode failed: URF document is truncated.");
    workersFail = true;
    documents.conversionError =
        DocumentError{.kind = Kind::worker, .failure = {WorkerFailure::Kind::timedOut}};
    EXPECT_EQ(refusalOf(raster), "URF conversion failed: the worker took too long");
    documents.conversionError.reset();
    documents.converted = "#!/bin/sh";
    EXPECT_EQ(refusalOf(raster), "URF conversion failed: its output is not a PDF");
    documents.conversionError = DocumentError{.kind = Kind::cannotWrite, .system = {ENOSPC}};
    EXPECT_EQ(refusalOf(raster), "No space left on device");
    isSpoolBusy = true;
    EXPECT_EQ(refusalOf(raster), "Device or resource busy");
}

TEST_F(DocumentNormalizerTest, HasAWorkerConvertPicturesForThePaperOfTheJob)
{
    traits.paper = {.width = 10000, .height = 15000};
    EXPECT_EQ(contentOf(*normalize(documentFile(picture))), "%PDF-converted");
    EXPECT_THAT(documents.papers, testing::ElementsAre(traits.paper));
    documents.conversionError = DocumentError{DocumentError::Kind::conversion, "it has no picture"};
    EXPECT_EQ(refusalOf(picture), "JPEG conversion failed: it has no picture");
}

TEST_F(DocumentNormalizerTest, DecompressesWhatIsSaidToBeCompressedAndOfNoKnownFormat)
{
    using Kind = DocumentError::Kind;
    documents.decompressed = "not a known format";
    EXPECT_EQ(contentOf(*normalize(documentFile("%PDF-plain"))), "%PDF-plain");
    EXPECT_EQ(refusalOf("\x1F\x8B"), "Unrecognized document format (first bytes: 1F 8B)");
    traits.compression = Compression::gzip;
    EXPECT_EQ(contentOf(*normalize(documentFile("%PDF-plain"))), "%PDF-plain");
    EXPECT_EQ(refusalOf("\x1F\x8B"),
              "Unrecognized document format (first bytes: 6E 6F 74 20 61 20 6B 6E)");
    documents.decompressed = "%PDF-packed";
    EXPECT_EQ(contentOf(*normalize(documentFile("\x1F\x8B"))), "%PDF-packed");
    documents.decompressed = picture;
    EXPECT_EQ(contentOf(*normalize(documentFile("\x1F\x8B"))), "%PDF-converted");
    documents.decompressionError =
        DocumentError{Kind::conversion, "the compressed data is damaged"};
    EXPECT_EQ(refusalOf("\x1F\x8B"), "Decompression failed: the compressed data is damaged");
    workersFail = true;
    documents.decompressionError = DocumentError{.kind = Kind::cannotWrite, .system = {ENOSPC}};
    EXPECT_EQ(refusalOf("\x1F\x8B"), "No space left on device");
}

TEST_F(DocumentNormalizerTest, HasAWorkerCopyThePagesThatAreWantedOrKeepsAll)
{
    traits.pages = {{2, 3}};
    for (const std::string_view document : {std::string_view("%PDF-whole"), raster})
        EXPECT_EQ(contentOf(*normalize(documentFile(document))), "%PDF-selected");
    EXPECT_THAT(documents.selections, testing::ElementsAre(traits.pages, traits.pages));
    documents.selectionError = DocumentError{DocumentError::Kind::conversion, "it is signed"};
    EXPECT_EQ(contentOf(*normalize(documentFile("%PDF-whole"))), "%PDF-whole");
    workersFail = true;
    documents.selectionError =
        DocumentError{.kind = DocumentError::Kind::cannotWrite, .system = {ENOSPC}};
    EXPECT_EQ(refusalOf("%PDF-whole"), "No space left on device");
}

} // namespace
} // namespace korvane
