#include "document/PDFEmbedder.h"

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace korvane::PDFEmbedder {

namespace {

const OCRPageResult page{.spans = {{"Hello", {10, 20, 54.672, 9}}}, .readingTurns = 3};

Write writing(const std::string& bytes)
{
    return [bytes](const auto&, const auto&, int output) -> Result<void, PDFWriteError> {
        EXPECT_EQ(::write(output, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        return {};
    };
}

Write failing(PDFWriteError::Kind kind)
{
    return [kind](const auto&, const auto&, int) -> Result<void, PDFWriteError> {
        return failure(PDFWriteError{kind, "why"});
    };
}

} // namespace

TEST(TextLayer, FitsEachLineToTheWidthOfItsRectangle)
{
    const std::tuple<const char*, double, const char*, double> cases[] = {
        {"Hello", 54.672, "Hello", 24},   {"Hello", 0.5, "Hello", 1},
        {"i", 0.5, "i", 1 / 0.222},       {"i", -7, "i", 1 / 0.222},
        {"\u0301", 40, "\u0301", 12},     {"a\nb\x01\tc", 16.68, "a b c", 16.68 / 2.168},
        {"\xFFok\u2028", 1.334, "ok ", 1}};
    for (const auto& [text, width, drawn, size] : cases) {
        const auto lines = drawTextLayer(std::vector<OCRSpan>{{text, {10, 20, width, 9}}});
        ASSERT_EQ(lines.size(), 1U) << text;
        EXPECT_EQ(lines[0].text, drawn);
        EXPECT_NEAR(lines[0].fontSize, size, 1e-9) << text;
        EXPECT_EQ(lines[0].x, 10);
        EXPECT_EQ(lines[0].baseline, 21);
    }
    EXPECT_TRUE(drawTextLayer(std::vector<OCRSpan>{{"", {}}, {"\x02\xFF", {}}}).empty());
}

TEST(PDFEmbedder, HasEveryPageWrittenUnderANameThatNobodyWaitsFor)
{
    const TemporaryFolder folder;
    const auto target = folder.write("job.pdf", "old");
    const Write write = [&](const std::vector<PageTextLayer>& layers,
                            const DocumentInformation& information, int output) {
        EXPECT_EQ(layers, (std::vector<PageTextLayer>{{{{"Hello", 10, 21, 24}}, 3}, {}}));
        EXPECT_EQ(information, (DocumentInformation{{"Creator", "Korvane"}, {"Title", "Job"}}));
        EXPECT_EQ(folder.read("job.pdf"), "old");
        return writing("%PDF-new")(layers, information, output);
    };
    ASSERT_TRUE(writeSearchablePDF(std::vector<OCRPageResult>{page, {}}, target,
                                   {{"Title", "Job"}, {"Creator", "Someone"}}, write));
    EXPECT_EQ(folder.read("job.pdf"), "%PDF-new");
    EXPECT_EQ(folder.entryCount(), 1);
}

TEST(PDFEmbedder, SaysWhatFailedAndLeavesTheFolderAsItWas)
{
    const TemporaryFolder folder;
    using Kind = PDFWriteError::Kind;
    const auto target = folder.write("job.pdf", "old");
    const std::tuple<std::filesystem::path, Write, const char*> cases[] = {
        {target, failing(Kind::cannotOpenSource),
         "Cannot open source PDF (PDFEmbedder error 1: why)"},
        {folder.path() / "none" / "job.pdf", writing("x"),
         "Cannot create destination PDF context (PDFEmbedder error 2: No such file or directory)"},
        {target, failing(Kind::sourceIsSigned),
         "The source PDF is digitally signed and is not changed (PDFEmbedder error 3: why)"},
        {target, failing(Kind::cannotWrite),
         "Cannot write destination PDF (PDFEmbedder error 4: why)"},
        {target, writing("x"),
         "The PDF writer failed (PDFEmbedder error 5: what it wrote is no PDF)"},
        {folder.path(), writing("%PDF-"),
         "Cannot write destination PDF (PDFEmbedder error 4: Is a directory)"},
        {target, failing(Kind::workerFailed), "The PDF writer failed (PDFEmbedder error 5: why)"}};
    for (const auto& [destination, write, description] : cases) {
        const auto written = writeSearchablePDF(std::vector{page}, destination, {}, write);
        ASSERT_FALSE(written) << description;
        EXPECT_EQ(written.error().description(), description);
        EXPECT_EQ(folder.read("job.pdf"), "old");
        EXPECT_EQ(folder.entryCount(), 1);
    }
}

} // namespace korvane::PDFEmbedder
