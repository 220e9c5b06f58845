#include "lib/qpdf/PageSelection.h"

#include "lib/poppler/PDFReader.h"
#include "support/TestPDF.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

namespace korvane {
namespace {

/** Four pages in a tree of two levels: the second and third inherit their size, the fourth is the
 *  first again, and a bookmark leads to the third. */
std::string fourPages(const std::string& catalogEntries = "")
{
    const auto text = [](const std::string& word) {
        return pdfStream(fmt::format("BT /F 12 Tf 20 20 Td ({}) Tj ET", word));
    };
    const std::string page = "<< /Type /Page /Resources << /Font << /F 10 0 R >> >> ";
    return makePDF({
        "<< /Type /Catalog /Pages 2 0 R /Outlines 11 0 R " + catalogEntries + " >>",
        "<< /Type /Pages /Kids [3 0 R 4 0 R 3 0 R] /Count 4 >>",
        page + "/Parent 2 0 R /MediaBox [0 0 100 100] /Contents 7 0 R >>",
        "<< /Type /Pages /Parent 2 0 R /MediaBox [0 0 200 300] /Kids [5 0 R 6 0 R] /Count 2 >>",
        page + "/Parent 4 0 R /Contents 8 0 R >>",
        page + "/Parent 4 0 R /Contents 9 0 R >>",
        text("one"),
        text("two"),
        text("three"),
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>",
        "<< /Type /Outlines /First 12 0 R /Last 12 0 R /Count 1 >>",
        "<< /Title (Chapter) /Parent 11 0 R /Dest [6 0 R /Fit] >>",
    });
}

struct Selected {
    Result<void, PDFWriteError> written;
    std::string pdf;

    /** The words on its pages, each with the width of its page. */
    std::string pages() const
    {
        const auto reader = PDFReader::open(Data::copying(pdf));
        if (!reader) return "not readable";
        std::string all;
        for (std::size_t page = 0; page < reader->pageCount(); ++page) {
            const PageInfo info = reader->readPage(page);
            const std::string word = info.text.substr(0, info.text.find_first_of(" \n\f"));
            all += fmt::format("{}@{} ", word, info.mediaBox.width);
        }
        return all;
    }
};

Selected select(const std::string& source, const std::vector<PageRange>& ranges)
{
    Selected selected;
    selected.written =
        writeSelectedPages(Data::copying(source), ranges, [&](std::span<const std::uint8_t> part) {
            selected.pdf.append(part.begin(), part.end());
            return Result<void, SystemError>();
        });
    return selected;
}

TEST(PageSelection, CopiesThePagesInTheRangesAndNothingOfTheOthers)
{
    const std::tuple<std::vector<PageRange>, const char*, const char*> cases[] = {
        {{{2, 3}}, "two@200 three@200 ", "(one)"},
        {{{1, 1}}, "one@100 ", "(three)"},
        {{{2, 2}, {4, 9}}, "two@200 one@100 ", "(three)"},
        {{{3, UINT64_MAX}}, "three@200 one@100 ", "(two)"}};
    for (const auto& [ranges, pages, absent] : cases) {
        const Selected selected = select(fourPages(), ranges);
        ASSERT_TRUE(selected.written) << selected.written.error().detail;
        EXPECT_EQ(selected.pages(), pages);
        EXPECT_THAT(selected.pdf, testing::Not(testing::HasSubstr(absent)));
    }
}

TEST(PageSelection, RefusesWhatItCannotCopyInPart)
{
    using Kind = PDFWriteError::Kind;
    const std::string source = fourPages();
    const std::tuple<std::string, std::vector<PageRange>, Kind> cases[] = {
        {source, {{5, 9}}, Kind::cannotOpenSource},
        {source, {}, Kind::cannotOpenSource},
        {source.substr(0, source.size() / 2), {{4, 4}}, Kind::cannotOpenSource},
        {"%PDF-1.4 nothing", {{1, 1}}, Kind::cannotOpenSource},
        {fourPages("/Perms << /DocMDP << >> >>"), {{1, 1}}, Kind::sourceIsSigned}};
    for (const auto& [document, ranges, kind] : cases) {
        const auto written = select(document, ranges).written;
        ASSERT_FALSE(written);
        EXPECT_EQ(written.error().kind, kind) << written.error().detail;
    }
}

} // namespace
} // namespace korvane
