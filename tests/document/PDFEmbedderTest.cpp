#include "document/PDFEmbedder.h"

#include "support/FakeDocuments.h"
#include "support/ManualQueues.h"
#include "support/TemporaryFolder.h"

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

Result<void, Error> write(FakeDocument& source, const std::vector<OCRPageResult>& pages,
                          const std::filesystem::path& destination,
                          const DocumentInformation& information = {})
{
    ManualQueues queues;
    std::optional<Result<void, Error>> result;
    writeSearchablePDF(source, pages, destination, information, queues.background(),
                       [&](const Result<void, Error>& written) { result = written; });
    queues.run();
    EXPECT_TRUE(result);
    return result.value_or(Result<void, Error>());
}

} // namespace

TEST(PDFEmbedder, WritesEveryPageBesideTheDestinationAndReplacesItThen)
{
    const TemporaryFolder folder;
    const auto target = folder.write("job.pdf", "old");
    FakeDocumentContent content;
    content.write = [&](int output) {
        EXPECT_EQ(folder.read("job.pdf"), "old");
        writing("%PDF-new")(output);
    };
    FakeDocument source(content);
    ASSERT_TRUE(write(source, {page, {}}, target, {{"Title", "Job"}, {"Creator", "Someone"}}));
    EXPECT_EQ(content.layers, (std::vector<PageTextLayer>{{{line}}, {}}));
    EXPECT_EQ(content.information, (DocumentInformation{{"Creator", "Korvane"}, {"Title", "Job"}}));
    EXPECT_EQ(folder.read("job.pdf"), "%PDF-new");
    EXPECT_EQ(folder.entryCount(), 1);
}

TEST(PDFEmbedder, SaysWhatFailedAndLeavesTheFolderAsItWas)
{
    const TemporaryFolder folder;
    using Kind = PDFWriteError::Kind;
    const auto target = folder.write("job.pdf", "old");
    const auto failing = [](Kind kind) { return PDFWriteError{kind, "why"}; };
    const std::tuple<std::filesystem::path, std::optional<PDFWriteError>, const char*, const char*>
        cases[] = {
            {target, failing(Kind::cannotOpenSource), "",
             "Cannot open source PDF (PDFEmbedder error 1: why)"},
            {folder.path() / "none" / "job.pdf",
             {},
             "%PDF",
             "Cannot create destination PDF context (PDFEmbedder error 2: No such file or "
             "directory)"},
            {target, failing(Kind::sourceIsSigned), "",
             "The source PDF is digitally signed and is not changed (PDFEmbedder error 3: why)"},
            {target, failing(Kind::cannotWrite), "",
             "Cannot write destination PDF (PDFEmbedder error 4: why)"},
            {target,
             {},
             "x",
             "The PDF writer failed (PDFEmbedder error 5: its output is not a PDF)"},
            {target,
             {},
             "",
             "The PDF writer failed (PDFEmbedder error 5: its output is not a PDF)"},
            {folder.path(),
             {},
             "%PDF",
             "Cannot write destination PDF (PDFEmbedder error 4: Is a directory)"},
            {target, failing(Kind::workerFailed), "",
             "The PDF writer failed (PDFEmbedder error 5: why)"}};
    for (const auto& [destination, error, written, description] : cases) {
        FakeDocumentContent content;
        content.writeError = error;
        content.write = writing(written);
        FakeDocument source(content);
        const auto result = write(source, {page}, destination);
        ASSERT_FALSE(result) << description;
        EXPECT_EQ(result.error().description(), description);
        EXPECT_EQ(folder.read("job.pdf"), "old");
        EXPECT_EQ(folder.entryCount(), 1);
    }
}

} // namespace korvane::PDFEmbedder
