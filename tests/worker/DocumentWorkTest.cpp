#include "event/SystemQueues.h"
#include "recognition/WorkerDocuments.h"
#include "support/DecodedRaster.h"
#include "support/JPEGBuilder.h"
#include "support/RecordingLog.h"
#include "support/TestDocument.h"
#include "support/TestPDF.h"
#include "support/URFBuilder.h"
#include "workerpool/WorkerPool.h"
#include "workerpool/WorkerProcess.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <cerrno>
#include <future>

namespace korvane {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

constexpr std::string_view fox = "(The quick brown fox) Tj 0 -50 Td (jumps over the lazy dog) Tj";

/** A page of large letters, which `text` shows, and an empty one. */
std::string makeDocument(std::string_view text = fox)
{
    return makePDF({
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R 4 0 R] /Count 2 /MediaBox [0 0 612 792] >>",
        "<< /Type /Page /Parent 2 0 R /Contents 5 0 R /Resources << /Font << /F1"
        " << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >> >> >>",
        "<< /Type /Page /Parent 2 0 R >>",
        pdfStream("BT /F1 30 Tf 72 700 Td " + std::string(text) + " ET"),
    });
}

/** The worker program itself, in its sandbox. */
class DocumentWorkTest : public testing::Test {
protected:
    /** Waits for the answer that `ask` has its completion called with. */
    template <typename T>
    static T get(const std::function<void(std::function<void(T)>)>& ask)
    {
        const auto promise = std::make_shared<std::promise<T>>();
        ask([promise](T answer) { promise->set_value(std::move(answer)); });
        return promise->get_future().get();
    }

    DocumentAnswer<std::shared_ptr<OpenDocument>> open(std::string_view pdf)
    {
        return get<DocumentAnswer<std::shared_ptr<OpenDocument>>>(
            [&](auto completion) { documents.open(documentFile(pdf), completion); });
    }

    static DocumentAnswer<std::vector<PageInfo>> read(OpenDocument& document, std::size_t count)
    {
        return get<DocumentAnswer<std::vector<PageInfo>>>(
            [&](auto completion) { document.readPages(0, count, completion); });
    }

    static DocumentAnswer<PageReading> recognize(OpenDocument& document, std::size_t page,
                                                 const std::string& language)
    {
        return get<DocumentAnswer<PageReading>>(
            [&](auto completion) { document.recognizePage(page, 200, language, completion); });
    }

    static std::string textOf(const PageReading& reading)
    {
        std::string text;
        for (const TextLine& line : reading.lines) {
            for (const TextWord& word : line.words) text += word.text + " ";
        }
        return text;
    }

    RecordingLog log;
    SystemQueues queues{log};
    WorkerPool workers{queues, std::make_unique<WorkerProcessLauncher>(KORVANE_WORKER),
                       WorkerPoolLimits{.workers = 1}};
    WorkerDocuments documents{workers};
};

TEST_F(DocumentWorkTest, ReadsRecognizesAndRewritesADocument)
{
    const auto document = open(makeDocument()).value();
    ASSERT_EQ(document->pageCount(), 2U);
    const auto pages = read(*document, 3).value();
    ASSERT_THAT(pages, SizeIs(3));
    EXPECT_THAT(pages[0].text, HasSubstr("lazy dog"));
    EXPECT_EQ(pages[1].mediaBox, (PDFRect{0, 0, 612, 792}));
    EXPECT_FALSE(pages[2].exists);

    const auto languages = get<DocumentAnswer<std::vector<std::string>>>(
        [&](auto completion) { documents.languages(completion); });
    EXPECT_THAT(languages.value(), Contains("eng"));

    const auto reading = recognize(*document, 0, "eng");
    ASSERT_TRUE(reading) << reading.error().description();
    EXPECT_EQ(textOf(*reading), "The quick brown fox jumps over the lazy dog ");
    EXPECT_EQ(reading->bitmap, (BitmapSize{1700, 2200, 200}));
    EXPECT_TRUE(reading->isComplete);
    ASSERT_THAT(reading->lines, SizeIs(2));
    EXPECT_NEAR(reading->lines[0].y, 700, 3);
    EXPECT_NEAR(reading->lines[0].x, 72, 3);
    EXPECT_NEAR(reading->lines[1].y, 650, 3);
    EXPECT_THAT(recognize(*document, 1, "eng")->lines, SizeIs(0));
    EXPECT_EQ(textOf(*recognize(*document, 0, "eng")), textOf(*reading)) << "after another page";

    const SharedDescriptor output = unnamedFile();
    const auto written = get<Result<void, PDFWriteError>>([&](auto completion) {
        document->write({{reading->lines}, {}}, {{"Title", "Fox"}}, output, completion);
    });
    ASSERT_TRUE(written) << written.error().detail;
    std::string start(5, '\0');
    EXPECT_EQ(::pread(output->get(), start.data(), start.size(), 0), 5);
    EXPECT_EQ(start, "%PDF-");
}

TEST_F(DocumentWorkTest, TellsWhatIsWrongAndServesTheNextRequest)
{
    EXPECT_EQ(open("no document").error().kind, DocumentError::Kind::notReadable);
    const auto document = open(makeDocument()).value();
    EXPECT_EQ(recognize(*document, 7, "eng").error().kind, DocumentError::Kind::noPage);
    EXPECT_EQ(recognize(*document, 0, "none").error().kind, DocumentError::Kind::recognition);
    EXPECT_EQ(recognize(*document, 0, "../../eng").error().kind, DocumentError::Kind::recognition);
    EXPECT_THAT(textOf(*recognize(*document, 0, "eng")), StartsWith("The quick"));
}

TEST_F(DocumentWorkTest, TellsInWhichLanguageThePageSeemsToBe)
{
    const auto document = open(makeDocument("(Der schnelle braune Fuchs) Tj 0 -50 Td"
                                            " (springt am fruehen Morgen) Tj 0 -50 Td"
                                            " (ohne Angst und Sorgen) Tj 0 -50 Td"
                                            " (durch den kalten Regen) Tj 0 -50 Td"
                                            " (und der faule Hund liegt) Tj 0 -50 Td"
                                            " (noch immer vor dem Haus) Tj"))
                              .value();
    const auto reading = recognize(*document, 0, "eng").value();
    ASSERT_FALSE(reading.likelyLanguages.empty());
    EXPECT_EQ(reading.likelyLanguages.front(), "de");
}

TEST_F(DocumentWorkTest, MakesPDFOfRastersOrTellsWhyNot)
{
    const auto convert = [&](const Data& raster, const SharedDescriptor& output) {
        return get<DocumentAnswer<std::uint64_t>>([&](auto completion) {
            documents.convertRaster(documentFile(raster.text()), output, completion);
        });
    };
    const Data raster =
        test::URFBuilder(1).page(test::Raster{.width = 999, .height = 9}, 72).build();
    const SharedDescriptor output = unnamedFile();
    const auto length = convert(raster, output);
    ASSERT_TRUE(length) << length.error().description();
    EXPECT_EQ(contentOf({output, *length}), test::decodedURF(raster)->text());

    // The magic decides what a raster document is.
    EXPECT_EQ(convert(Data::copying("RaS2"), output).error().description(),
              "PWG raster document is truncated.");
    const auto refused = convert(test::URFBuilder(0).build(), output);
    EXPECT_EQ(refused.error().kind, DocumentError::Kind::conversion);
    EXPECT_EQ(refused.error().description(), "Unsupported URF: zero pages");
    ASSERT_EQ(::fcntl(output->get(), F_ADD_SEALS, F_SEAL_GROW), 0);
    EXPECT_EQ(convert(raster, output).error().system, SystemError{EPERM});
}

TEST_F(DocumentWorkTest, MakesPDFOfPicturesAndDecompressesOrTellsWhyNot)
{
    const SharedDescriptor output = unnamedFile();
    const std::string picture = test::jpeg(test::frame({.width = 300, .height = 150}) +
                                           test::quantization() + test::scan());
    constexpr PaperSize paper{.width = 1270, .height = 1270};
    const auto convert = [&](std::string_view document) {
        return get<DocumentAnswer<std::uint64_t>>([&](auto completion) {
            documents.convertPicture(documentFile(document), paper, output, completion);
        });
    };
    const auto length = convert(picture);
    ASSERT_TRUE(length) << length.error().description();
    EXPECT_THAT(contentOf({output, *length}), AllOf(HasSubstr("stream\n" + picture + "\nendstream"),
                                                    HasSubstr("/MediaBox [0 0 36 18]")));
    EXPECT_EQ(convert("\xFF\xD8\xFF\xD9").error().description(), "it has no picture");

    // RFC 1951: one stored block of three bytes.
    const std::string compressed("\1\3\0\xFC\xFFPDF", 8);
    const auto decompress = [&](std::string_view document, std::uint64_t room) {
        return get<DocumentAnswer<std::uint64_t>>([&](auto completion) {
            documents.decompress(documentFile(document), room, output, completion);
        });
    };
    EXPECT_EQ(contentOf({output, decompress(compressed, 3).value()}), "PDF");
    EXPECT_EQ(decompress(compressed, 2).error().system, SystemError{ENOSPC});
    EXPECT_EQ(decompress("\1\3", 3).error().kind, DocumentError::Kind::conversion);
}

TEST_F(DocumentWorkTest, CopiesPagesOrTellsWhyNot)
{
    const SharedDescriptor output = unnamedFile();
    const auto select = [&](const std::string& document, std::uint64_t page) {
        return get<DocumentAnswer<std::uint64_t>>([&](auto completion) {
            documents.selectPages(documentFile(document), {{page, page}}, output, completion);
        });
    };
    const auto length = select(makeDocument(), 1);
    ASSERT_TRUE(length) << length.error().description();
    EXPECT_EQ(open(contentOf({output, *length})).value()->pageCount(), 1U);
    EXPECT_EQ(select(makeDocument(), 3).error().kind, DocumentError::Kind::conversion);
    ASSERT_EQ(::fcntl(output->get(), F_ADD_SEALS, F_SEAL_GROW), 0);
    EXPECT_EQ(select(makeDocument(), 2).error().system, SystemError{EPERM});
}

TEST_F(DocumentWorkTest, KeepsDocumentsApart)
{
    const auto first = open(makeDocument()).value();
    const auto second = open(makeDocument("(A small white cat) Tj")).value();
    EXPECT_THAT(textOf(*recognize(*first, 0, "eng")), HasSubstr("brown"));
    EXPECT_THAT(textOf(*recognize(*second, 0, "eng")), HasSubstr("white cat"));
    EXPECT_THAT(textOf(*recognize(*first, 0, "eng")), HasSubstr("brown"));
}

} // namespace
} // namespace korvane
