#include "lib/qpdf/SearchablePDFWriter.h"

#include "page/Helvetica.h"
#include "support/TemporaryFolder.h"
#include "support/TestPDF.h"
#include "text/CodePoints.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <regex>
#include <sstream>

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

/** Pages with these entries. */
std::string pagesOf(const std::vector<std::string>& entries)
{
    std::vector<std::string> objects = {catalog, ""};
    std::string kids;
    for (const std::string& page : entries) {
        objects.push_back("<< /Type /Page /Parent 2 0 R " + page + " >>");
        kids += std::to_string(objects.size()) + " 0 R ";
    }
    objects[1] = pages(kids, static_cast<int>(entries.size()));
    return makePDF(objects);
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

bool isRightToLeft(char32_t character)
{
    return character >= 0x590 && character < 0x780;
}

/** A line of 120 points whose words are as wide as in Helvetica. */
TextLine lineOf(const std::string& text)
{
    const std::u32string characters = text::codePoints(text);
    const double size = 120 / helvetica::textWidth(characters, 1);
    TextLine line{.x = 50, .y = 60};
    std::istringstream stream(text);
    double start = 0;
    for (std::string word; stream >> word;) {
        const double width = helvetica::textWidth(text::codePoints(word), size);
        const double left = isRightToLeft(characters[0]) ? 120 - start - width : start;
        line.words.push_back({word, left, width});
        start += width + helvetica::textWidth(U" ", size);
    }
    return line;
}

PageTextLayer layerOf(const std::string& text)
{
    return {.lines = {lineOf(text)}};
}

std::string withMetadata(const std::string& metadata)
{
    return onePage("", {pdfStream(metadata, "/Type /Metadata /Subtype /XML")}, "/Metadata 4 0 R");
}

std::string withXMP(const std::string& attributes)
{
    return withMetadata("<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#' "
                        "xmlns:xmp='http://ns.adobe.com/xap/1.0/' "
                        "xmlns:pdfaid='http://www.aiim.org/pdfa/ns/id/'>"
                        "<rdf:Description rdf:about='' " +
                        attributes + "/></rdf:RDF>");
}

const std::string now = "D:20250301150509+01'00";

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
    for (const std::string& line : texts) layers.push_back(layerOf(line));
    ASSERT_TRUE(write(pagesOf(std::vector<std::string>(layers.size())), layers));

    // Between pages stands a form feed; around text that runs the other way, its marks.
    std::string found = std::regex_replace(text(), std::regex("\u202A|\u202B|\u202C|\n"), "");
    for (const std::string& line : texts) {
        const std::size_t end = found.find('\f');
        EXPECT_EQ(found.substr(0, end), line);
        found.erase(0, end + 1);
    }
}

TEST_F(SearchablePDF, KeepsWordsWholeAndApart)
{
    const std::vector<TextWord> apart = {{"some", 0, 26}, {"long", 30, 25}, {"words", 60, 35}};
    const std::pair<double, std::vector<TextWord>> cases[] = {
        {0, apart},
        {3, apart},
        {-7, apart},
        {93, apart},
        {187, apart},
        {0, {{"touching", 0, 40}, {"words", 40, 30}, {"three", 70, 25}}},
        {0, {{"overlapping", 0, 60}, {"words", 55, 30}}},
        {5, {{"nearly", 0, 40}, {"touching", 40.5, 50}}},
        {0, {{"far", 0, 20}, {"away", 400, 30}}},
        {0, {{"H", 0, 10}, {"squeezed", 30, 12}, {"stretched", 60, 300}}},
        {0, {{"λόγος", 0, 50}, {"mΩm", 50, 30}, {"漢字", 80, 10}}}};
    std::vector<PageTextLayer> layers;
    std::string expected;
    for (const auto& [angle, line] : cases) {
        layers.push_back(
            {.lines = {
                 {.x = 100, .y = 200, .angle = angle, .ascent = 8, .descent = 2, .words = line}}});
        for (const TextWord& word : line) expected += (&word == &line[0] ? "" : " ") + word.text;
        expected += " \f";
    }
    ASSERT_TRUE(write(pagesOf(std::vector<std::string>(layers.size())), layers));
    for (const char* mode : {"", "-raw "}) {
        const std::string found = run(std::string("pdftotext ") + mode + "output.pdf -");
        // Tilted lines may be taken for several.
        EXPECT_EQ(std::regex_replace(found, std::regex("[ \n]+"), " "), expected) << mode;
    }
}

TEST_F(SearchablePDF, GivesLettersThatHelveticaLacksAnExtent)
{
    for (const char* word : {"λόγος", "漢字"}) {
        ASSERT_TRUE(write(onePage(""), {layerOf(word)}));
        const std::string painted =
            run("qpdf --qdf output.pdf - | sed 's/^3 Tr/0 Tr/' > painted.pdf; "
                "pdftoppm -gray -r 36 output.pdf a; pdftoppm -gray -r 36 painted.pdf b; "
                "cmp a-1.pgm b-1.pgm");
        EXPECT_THAT(painted, HasSubstr("a-1.pgm b-1.pgm differ")) << word;
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

TEST_F(SearchablePDF, SetsTheGivenInformationAndKeepsTheRest)
{
    const std::string source =
        makePDF({catalog, pages("3 0 R", 1), "<< /Type /Page /Parent 2 0 R >>",
                 "<< /Title (old) /Producer (Scanner 5) /Keywords 5 0 R /Trapped /True "
                 "/CreationDate (D:20190102030405Z) /ModDate (old) /Archive (box 7) "
                 "/GTS_PDFXVersion (old) >>",
                 "(kept apart)"},
                "/Root 1 0 R /Info 4 0 R");
    ASSERT_TRUE(write(source, {layerOf("x")},
                      {{"Title", "Ωμέγα) /Evil (\\ 😀"}, {"Author", "þÿab"}, {"ModDate", now}}));
    const std::string information = run("pdfinfo -custom output.pdf; pdfinfo -rawdates output.pdf");
    for (const char* line :
         {"Ωμέγα) /Evil (\\ 😀\n", "þÿab\n", "Scanner 5\n", "kept apart\n", "box 7\n",
          "CreationDate:    D:20190102030405Z\n", "ModDate:         D:20250301150509+01'00\n"})
        EXPECT_THAT(information, HasSubstr(line));
    EXPECT_THAT(output_, HasSubstr("/Trapped /True"));
    EXPECT_THAT(output_, Not(HasSubstr("old")));
}

TEST_F(SearchablePDF, BringsTheMetadataInStep)
{
    ASSERT_TRUE(write(withXMP("xmp:CreatorTool='old' xmp:Label='kept' pdfaid:part='1'"),
                      {layerOf("x")}, {{"Creator", "Korvane"}, {"ModDate", now}}));
    const std::string metadata = run("pdfinfo -meta output.pdf");
    EXPECT_THAT(metadata, HasSubstr("kept"));
    EXPECT_THAT(metadata, HasSubstr("<xmp:CreatorTool>Korvane</xmp:CreatorTool>"));
    EXPECT_THAT(metadata, HasSubstr("<xmp:ModifyDate>2025-03-01T15:05:09+01:00</xmp:ModifyDate>"));
    EXPECT_THAT(metadata, HasSubstr("<xmp:CreateDate>2025-03-01T15:05:09+01:00</xmp:CreateDate>"));
    EXPECT_THAT(metadata, Not(testing::AnyOf(HasSubstr("old"), HasSubstr("pdfaid:part"))));
    EXPECT_THAT(run("pdfinfo output.pdf"), Not(HasSubstr("PDF/A")));

    // One that tells when the document was created is not told another time.
    folder_.write("plain.pdf", withXMP("xmp:CreateDate='2019-01-02'"));
    run("qpdf plain.pdf --object-streams=generate --encrypt '' owner 256 -- packed.pdf");
    ASSERT_TRUE(write(folder_.read("packed.pdf"), {layerOf("x")}, {{"ModDate", now}}));
    EXPECT_THAT(run("pdfinfo -meta output.pdf"), HasSubstr("CreateDate=\"2019-01-02\""));
    EXPECT_THAT(run("pdfinfo -rawdates output.pdf"), Not(HasSubstr("CreationDate")));
}

TEST_F(SearchablePDF, RemovesMetadataThatCannotBeKeptInStep)
{
    const std::string huge = "<x>" + std::string(5'000'000, ' ') + "</x>";
    folder_.write("huge.pdf", withMetadata(huge));
    run("qpdf --recompress-flate --stream-data=compress huge.pdf packed.pdf");
    const std::string cases[] = {
        withMetadata("<x>no XMP</x>"),
        withMetadata("<rdf:RDF"),
        withMetadata(""),
        withMetadata(huge),
        folder_.read("packed.pdf"),
        onePage("", {pdfStream("<x/>", "/Filter /DCTDecode")}, "/Metadata 4 0 R"),
        onePage("", {pdfStream("broken", "/Filter /FlateDecode")}, "/Metadata 4 0 R"),
        onePage("", {"(no stream)"}, "/Metadata 4 0 R")};
    for (const std::string& source : cases) {
        ASSERT_TRUE(write(source, {layerOf("x")})) << source.substr(0, 500);
        EXPECT_THAT(output_, Not(HasSubstr("/Metadata"))) << source.substr(0, 500);
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

} // namespace korvane
