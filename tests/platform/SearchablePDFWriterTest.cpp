#include "platform/qpdf/SearchablePDFWriter.h"

#include "platform/pdf/Helvetica.h"
#include "platform/pdf/VisualOrder.h"
#include "support/TemporaryFolder.h"
#include "support/TestPDF.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <regex>

namespace korvane {

namespace {

using testing::HasSubstr;
using testing::Not;
using Kind = PDFWriteError::Kind;

const std::string catalog = "<< /Type /Catalog /Pages 2 0 R >>";

std::string pages(const std::string& kids, int count)
{
    return "<< /Type /Pages /MediaBox [0 0 600 400] /Kids [" + kids + "] /Count " +
           std::to_string(count) + " >>";
}

/** One page, whose entries are these, and the objects after it, which begin with number 4. */
std::string onePage(const std::string& entries, const std::vector<std::string>& others = {},
                    const std::string& catalogEntries = "")
{
    std::vector<std::string> objects = {"<< /Type /Catalog /Pages 2 0 R " + catalogEntries + " >>",
                                        pages("3 0 R", 1),
                                        "<< /Type /Page /Parent 2 0 R " + entries + " >>"};
    objects.insert(objects.end(), others.begin(), others.end());
    return makePDF(objects);
}

PageTextLayer layerOf(const std::string& text, int turns = 0)
{
    const double size = 120 / helvetica::textWidth(text, 1);
    return {.lines = {{.text = text, .x = 50, .baseline = 60, .fontSize = size}},
            .quarterTurns = turns};
}

/** A folder with the PDFs of a test, and the programs of others that look at them. */
class SearchablePDF : public testing::Test {
protected:
    Result<void, PDFWriteError> write(const std::string& source,
                                      const std::vector<PageTextLayer>& layers,
                                      const DocumentInformation& information = {},
                                      const std::string& verdict = "\nfine")
    {
        folder_.write("source.pdf", source);
        output_.clear();
        const auto written = writeSearchablePDF(Data::copying(source), layers, information,
                                                [this](std::span<const std::uint8_t> bytes) {
                                                    output_.append(bytes.begin(), bytes.end());
                                                    return Result<void, SystemError>();
                                                });
        folder_.write("output.pdf", output_);
        if (!written) return written;
        EXPECT_THAT(run("qpdf --check output.pdf && echo fine"), HasSubstr(verdict));
        return written;
    }

    std::string run(const std::string& command) const
    {
        const std::string line = "cd " + folder_.path().string() + " && (" + command + ") 2>&1";
        FILE* const pipe = ::popen(line.c_str(), "r");
        std::string said;
        for (int byte = std::fgetc(pipe); byte != EOF; byte = std::fgetc(pipe))
            said += static_cast<char>(byte);
        ::pclose(pipe);
        return said;
    }

    std::string text() const { return run("pdftotext output.pdf -"); }

    TemporaryFolder folder_;
    std::string output_;
};

} // namespace

TEST_F(SearchablePDF, GivesBackTheWordsOfEveryScript)
{
    const std::string texts[] = {"Plain words (and [signs]) <\\> /100%",
                                 "“Quotes” – € café Ÿ",
                                 "Žluťoučký kůň Łódź ﬁ",
                                 "Ελληνικά και English",
                                 "Русский текст 2024",
                                 "שלום עולם (מבחן)!",
                                 "مرحبا بالعالم",
                                 "中文字符測試 日本語 한국어",
                                 "emoji 😀🎉 done 👩‍👩‍👧",
                                 "combining e\u0301 n\u0303 g\u0303",
                                 "हिन्दी क्षि ภาษาไทย"};
    std::vector<PageTextLayer> layers;
    std::string kids;
    std::vector<std::string> objects = {catalog, ""};
    for (const std::string& line : texts) {
        layers.push_back(layerOf(line));
        objects.emplace_back("<< /Type /Page /Parent 2 0 R >>");
        kids += std::to_string(objects.size()) + " 0 R ";
    }
    objects[1] = pages(kids, static_cast<int>(layers.size()));
    ASSERT_TRUE(write(makePDF(objects), layers));

    // Between pages stands a form feed; around text that runs the other way, its marks.
    std::string found = std::regex_replace(text(), std::regex("\u202A|\u202B|\u202C|\n"), "");
    for (const std::string& line : texts) {
        const std::size_t end = found.find('\f');
        EXPECT_EQ(found.substr(0, end), line);
        found.erase(0, end + 1);
    }
}

TEST_F(SearchablePDF, LaysTheWordsWhereTheyAreSeen)
{
    const double width = 500, height = 300;
    std::string kids;
    std::vector<std::string> objects = {catalog, ""};
    std::vector<PageTextLayer> layers;
    for (int index = 0; index < 16; ++index) {
        layers.push_back(layerOf("Ωhere", index % 4));
        objects.push_back("<< /Type /Page /Parent 2 0 R /MediaBox [-20 30 480 330] /Rotate " +
                          std::to_string(index / 4 * 90 - 360) + " >>");
        kids += std::to_string(objects.size()) + " 0 R ";
    }
    objects[1] = pages(kids, 16);
    ASSERT_TRUE(write(makePDF(objects), layers));

    const std::string boxes = run("pdftotext -bbox output.pdf -");
    const std::regex form(
        R"re(<word xMin="([^"]+)" yMin="([^"]+)" xMax="([^"]+)" yMax="([^"]+)")re");
    auto word = std::sregex_iterator(boxes.begin(), boxes.end(), form);
    for (int index = 0; index < 16; ++index, ++word) {
        SCOPED_TRACE("page " + std::to_string(index));
        ASSERT_NE(word, std::sregex_iterator());
        const auto edge = [&](std::size_t group) { return std::stod((*word)[group]); };
        // The tool measures from the top of the page as it is shown.
        const bool lies = index / 4 % 2 != 0;
        const double shownWidth = lies ? height : width, shownHeight = lies ? width : height;
        const double from[] = {50, shownHeight - 170, shownWidth - 170, 50};
        const bool isUpright = index % 2 == 0;
        const double start = isUpright ? edge(1) : edge(2), end = isUpright ? edge(3) : edge(4);
        EXPECT_NEAR(start, from[index % 4], 0.01);
        EXPECT_NEAR(end - start, 120, 0.01);
        // The baseline is 60 above the lower edge of the page as it is read.
        const double base[] = {shownHeight - 60, shownWidth - 60, 60, 60};
        const double low = isUpright ? edge(2) : edge(1), high = isUpright ? edge(4) : edge(3);
        EXPECT_LT(low, base[index % 4]);
        EXPECT_GT(high, base[index % 4]);
    }
}

TEST_F(SearchablePDF, LooksAsBeforeWhateverThePageDoesToItsState)
{
    const std::string contents[] = {
        "1 0 0 rg 50 50 200 200 re f",      "q q 0 1 0 rg 2 0 0 2 9 9 cm 5 5 90 90 re f",
        "1 0 0 rg Q Q 50 50 200 200 re f",  "BT /F1 40 Tf 80 80 Td (seen) Tj",
        "0 0 1 rg 0 0 100 100 re W n 7 Tr", "/Artifact BMC 9 0 0 9 0 0 cm 1 1 9 9 re S"};
    const std::string font = "/Resources << /Font << /F1 << /Type /Font /Subtype /Type1 "
                             "/BaseFont /Times-Roman >> >> >> /Contents 4 0 R /Rotate 90";
    for (const std::string& content : contents) {
        SCOPED_TRACE(content);
        folder_.write("source.pdf", "");
        ASSERT_TRUE(write(onePage(font, {pdfStream(content)}), {layerOf("Found λόγος")}));
        EXPECT_EQ(run("pdftoppm -r 40 source.pdf a 2>a.txt; pdftoppm -r 40 output.pdf b 2>b.txt; "
                      "cmp a-1.ppm b-1.ppm; cmp a.txt b.txt"),
                  "");
        EXPECT_THAT(text(), HasSubstr("Found λόγος"));
    }
}

TEST_F(SearchablePDF, KeepsAllThatTheDocumentHolds)
{
    const std::string source = onePage(
        "/Annots [5 0 R 6 0 R] /Contents 4 0 R",
        {pdfStream("0 0 9 9 re f"),
         "<< /Type /Annot /Subtype /Link /Rect [0 0 9 9] /A << /S /URI /URI (x:linked) >> >>",
         "<< /Type /Annot /Subtype /Widget /Rect [0 0 9 9] /FT /Tx /T (field) /V (filled) >>",
         "<< /Type /Outlines /First 8 0 R /Last 8 0 R /Count 1 >>",
         "<< /Title (chapter) /Parent 7 0 R /Dest [3 0 R /Fit] >>",
         pdfStream("the attached bytes", "/Type /EmbeddedFile"),
         "<< /Type /Filespec /F (attached.txt) /EF << /F 9 0 R >> >>"},
        "/AcroForm << /Fields [6 0 R] >> /Outlines 7 0 R "
        "/Names << /EmbeddedFiles << /Names [(attached.txt) 10 0 R] >> >>");
    ASSERT_TRUE(write(source, {layerOf("found")}));
    for (const char* kept : {"(x:linked)", "(filled)", "(chapter)", "\nthe attached bytesendstream",
                             "\n0 0 9 9 re fendstream", "/AcroForm", "/Outlines"})
        EXPECT_THAT(output_, HasSubstr(kept));
    EXPECT_THAT(run("pdfdetach -list output.pdf"), HasSubstr("attached.txt"));
}

TEST_F(SearchablePDF, AddsToNoPageButItsOwn)
{
    const std::string page = "<< /Type /Page /Parent 2 0 R /Contents 6 0 R >>";
    const std::string tree = "<< /Type /Pages /Kids [3 0 R 4 0 R 5 0 R 3 0 R] /Count 4 /MediaBox "
                             "[0 0 600 400] /Resources << /Font 8 0 R >> >>";
    const std::string shared =
        makePDF({catalog, tree, page, page, page, "[7 0 R]", pdfStream("0 0 9 9 re f"), "<< >>"});
    ASSERT_TRUE(write(shared, {layerOf("one"), {}, {}, layerOf("one")}, {}, "more than once"));
    EXPECT_EQ(text(), "one\n\n\f\f\fone\n\n\f");
}

TEST_F(SearchablePDF, TellsNothingButTheGivenInformation)
{
    const std::string source =
        makePDF({"<< /Type /Catalog /Pages 2 0 R /Metadata 4 0 R >>", pages("3 0 R", 1),
                 "<< /Type /Page /Parent 2 0 R >>",
                 pdfStream("<x>old</x>", "/Type /Metadata /Subtype /XML"), "<< /Producer (old) >>"},
                "/Root 1 0 R /Info 5 0 R");
    ASSERT_TRUE(
        write(source, {layerOf("x")}, {{"Title", "Ωμέγα) /Evil (\\ 😀"}, {"Author", "þÿab"}}));
    const std::string information = run("pdfinfo output.pdf");
    EXPECT_THAT(information, HasSubstr("Ωμέγα) /Evil (\\ 😀\n"));
    EXPECT_THAT(information, HasSubstr("þÿab\n"));
    EXPECT_THAT(output_, Not(HasSubstr("old")));
}

TEST_F(SearchablePDF, KeepsTheEncryptionOfWhatOpensWithoutAPassword)
{
    folder_.write("plain.pdf", onePage("/Contents 4 0 R", {pdfStream("0 0 9 9 re f")}));
    for (const char* bits : {"40", "128", "256"}) {
        const std::string command = "qpdf --allow-weak-crypto plain.pdf --encrypt ";
        run(command + "'' owner " + bits + " -- free.pdf; " + command + "user owner " + bits +
            " -- locked.pdf");
        ASSERT_TRUE(write(folder_.read("free.pdf"), {layerOf("found")})) << bits;
        EXPECT_THAT(text(), HasSubstr("found"));
        EXPECT_THAT(run("qpdf --show-encryption output.pdf"), HasSubstr("User password = \n"));
        EXPECT_EQ(write(folder_.read("locked.pdf"), {layerOf("x")}).error().kind,
                  Kind::cannotOpenSource);
    }
}

TEST_F(SearchablePDF, LeavesSignedDocumentsAlone)
{
    const std::string signature = "<< /Type /Sig /ByteRange [0 1 2 3] /Contents <00> >>";
    const std::pair<std::string, bool> cases[] = {
        {onePage("", {"<< /FT /Sig /T (s) /V 5 0 R >>", signature},
                 "/AcroForm << /Fields [4 0 R] /SigFlags 3 >>"),
         true},
        {onePage("", {"<< /T (inherits) /V " + signature + " >>"}), true},
        {onePage("", {}, "/Perms << /UR3 << >> >>"), true},
        {onePage("", {"<< /FT /Sig /T (waits) >>"}, "/AcroForm << /Fields [4 0 R] /SigFlags 1 >>"),
         false}};
    for (const auto& [source, isSigned] : cases) {
        const auto written = write(source, {layerOf("x")});
        ASSERT_EQ(!written, isSigned) << source;
        if (!isSigned) continue;
        EXPECT_EQ(written.error().kind, Kind::sourceIsSigned);
        EXPECT_EQ(output_, "");
    }
}

TEST_F(SearchablePDF, CopiesNothingThatCannotBeReadForSure)
{
    const std::string whole = onePage("/Contents 4 0 R", {pdfStream("0 0 9 9 re f")});
    std::string deep = "<< /Type /Page >>";
    for (int level = 0; level < 400; ++level) deep = "<< /Kids [" + deep + "] >>";
    std::string broken = whole;
    broken.replace(broken.find("4 0 obj"), 7, "4 0 odd");
    const std::pair<const char*, std::string> cases[] = {
        {"nothing", ""},
        {"no PDF", "%PDF-1.7\nhello"},
        {"half", whole.substr(0, whole.size() / 2)},
        {"a lost object", broken},
        {"no pages", makePDF({"<< /Type /Catalog >>"})},
        {"a loop", makePDF({catalog, pages("2 0 R", 1)})},
        {"a branch twice", makePDF({catalog, pages("3 0 R 3 0 R", 2), pages("4 0 R", 1), "<< >>"})},
        {"a missing page", makePDF({catalog, pages("3 0 R", 1)})},
        {"a deep tree", makePDF({catalog, deep})},
        {"no content", onePage("/Contents (words)")}};
    for (const auto& [what, source] : cases) {
        const auto written = write(source, {layerOf("x")});
        ASSERT_FALSE(written) << what;
        EXPECT_EQ(written.error().kind, Kind::cannotOpenSource) << what;
    }
    EXPECT_FALSE(write(whole, {{}, layerOf("no such page")}));
}

TEST_F(SearchablePDF, RepairsOnlyWhatIsCertainlyWhole)
{
    std::string source = onePage("/Contents 4 0 R", {pdfStream("0 0 9 9 re f")});
    const std::size_t offset = source.find("startxref") + 10;
    source.replace(offset, 3, "007");
    ASSERT_TRUE(write(source, {layerOf("found")}));
    EXPECT_THAT(text(), HasSubstr("found"));
    EXPECT_FALSE(write(source, {}));
}

TEST_F(SearchablePDF, SaysWhenTheOutputTakesNoMore)
{
    const auto full = [](std::span<const std::uint8_t>) -> Result<void, SystemError> {
        return failure(SystemError{ENOSPC});
    };
    const auto written =
        writeSearchablePDF(Data::copying(onePage("")), std::vector{layerOf("x")}, {}, full);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error(), (PDFWriteError{Kind::cannotWrite, "No space left on device"}));
}

TEST(VisualOrder, TurnsRoundWhatIsWrittenFromRightToLeft)
{
    const std::pair<std::u32string, std::u32string> cases[] = {
        {U"left (to) right 12", U"left (to) right 12"},
        {U"אבג", U"גבא"},
        {U"אב 12:30 גד!", U"!דג 12:30 בא"},
        {U"see אב גד, or הו.", U"see דג בא, or וה."},
        {U"אב see it גד", U"דג see it בא"},
        {U"אב 1-2", U"1-2 בא"},
        {U"ab אב 12", U"ab 12 בא"},
        {U"ب\u064Eت", U"ت\u064Eب"}};
    for (const auto& [read, seen] : cases) EXPECT_EQ(visualOrder(read), seen);
}

TEST(Helvetica, IsMeasuredAsItIsDrawn)
{
    // Adobe's widths, and those that the composite font declares.
    const std::pair<const char*, double> cases[] = {
        {"Hello", 27.336}, {"", 0},       {"€“fi”…", 32.664}, {"Ω", 6.672},
        {"漢字", 24},      {"\u0301", 0}, {"\xFF\xC3", 0}};
    for (const auto& [text, width] : cases)
        EXPECT_NEAR(helvetica::textWidth(text, 12), width, 1e-9) << text;
}

} // namespace korvane
