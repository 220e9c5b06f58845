#include "document/PDFEmbedder.h"

#include "support/FakeDocuments.h"
#include "support/ManualQueues.h"
#include "support/TestSpool.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace korvane::PDFEmbedder {

namespace {

const TextLine line{
    .x = 10, .y = 22, .angle = 90, .ascent = 7, .descent = 2, .words = {{"Hello", 0, 54.672}}};
const OCRPageResult page{.spans = {{.text = "Hello", .rect = {3, 20, 9, 54.672}, .line = line}}};

std::function<void(int)> writing(const std::string& bytes)
{
    return [bytes](int output) {
        EXPECT_EQ(::write(output, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    };
}

Result<DocumentFile, Error> write(FakeDocument& source, const std::vector<OCRPageResult>& pages,
                                  const Spool& spool, const DocumentInformation& information = {})
{
    ManualQueues queues;
    std::optional<Result<DocumentFile, Error>> result;
    writeSearchablePDF(source, pages, information, spool, queues.background(),
                       [&](const Result<DocumentFile, Error>& written) { result = written; });
    queues.run();
    EXPECT_TRUE(result);
    return result.value_or(Result<DocumentFile, Error>());
}

} // namespace

TEST(PDFEmbedder, WritesEveryPageToAFileOfTheSpool)
{
    TestSpool spool;
    FakeDocumentContent content;
    content.write = writing("%PDF-new");
    FakeDocument source(content);
    const auto pdf = write(source, {page, {}}, *spool, {{"Title", "Job"}, {"Creator", "Someone"}});
    ASSERT_TRUE(pdf);
    EXPECT_EQ(content.layers, (std::vector<PageTextLayer>{{{line}}, {}}));
    EXPECT_EQ(content.information, (DocumentInformation{{"Creator", "Korvane"}, {"Title", "Job"}}));
    EXPECT_EQ(pdf->length, 8U);
    std::string text(8, '\0');
    EXPECT_EQ(::pread(pdf->file->get(), text.data(), text.size(), 0), 8);
    EXPECT_EQ(text, "%PDF-new");
}

TEST(PDFEmbedder, SaysWhatFailed)
{
    TestSpool spool;
    const Spool ofAnotherAgent(spool.state.path());
    using Kind = PDFWriteError::Kind;
    const auto failing = [](Kind kind) { return PDFWriteError{kind, "why"}; };
    const std::tuple<const Spool*, std::optional<PDFWriteError>, const char*, const char*> cases[] =
        {{&*spool, failing(Kind::cannotOpenSource), "",
          "Cannot open source PDF (PDFEmbedder error 1: why)"},
         {&ofAnotherAgent,
          {},
          "%PDF",
          "Cannot create destination PDF context (PDFEmbedder error 2: Device or resource busy)"},
         {&*spool, failing(Kind::sourceIsSigned), "",
          "The source PDF is digitally signed and is not changed (PDFEmbedder error 3: why)"},
         {&*spool, failing(Kind::cannotWrite), "",
          "Cannot write destination PDF (PDFEmbedder error 4: why)"},
         {&*spool, {}, "x", "The PDF writer failed (PDFEmbedder error 5: its output is not a PDF)"},
         {&*spool, {}, "", "The PDF writer failed (PDFEmbedder error 5: its output is not a PDF)"},
         {&*spool, failing(Kind::workerFailed), "",
          "The PDF writer failed (PDFEmbedder error 5: why)"}};
    for (const auto& [files, error, written, description] : cases) {
        FakeDocumentContent content;
        content.writeError = error;
        content.write = writing(written);
        FakeDocument source(content);
        const auto result = write(source, {page}, *files);
        ASSERT_FALSE(result) << description;
        EXPECT_EQ(result.error().description(), description);
    }
}

} // namespace korvane::PDFEmbedder
