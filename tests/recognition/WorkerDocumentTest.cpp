#include "recognition/RequestCoding.h"
#include "recognition/WorkerDocuments.h"
#include "support/FakeWorkers.h"
#include "support/TestDocument.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

namespace korvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Kind = WorkerFailure::Kind;

template <typename Request>
Request asRequest(WorkerMessage message)
{
    EXPECT_EQ(message.code, requests::codeOf<Request>());
    WireReader in(std::move(message));
    auto request = decodeRequest<Request>(in);
    EXPECT_TRUE(request);
    return std::move(request).value_or(Request());
}

class WorkerDocumentTest : public testing::Test {
protected:
    /** Keeps the answer in `into`. */
    template <typename T>
    static auto keep(std::optional<T>& into)
    {
        return [&into](T answer) { into = std::move(answer); };
    }

    /** Answers the oldest request. */
    template <typename Answer>
    void answer(const DocumentAnswer<Answer>& with)
    {
        WireWriter out;
        encodeAnswer(out, with);
        workers.take().completion(out.message());
    }

    void fail(Kind kind) { workers.take().completion(failure(WorkerFailure{kind})); }

    std::shared_ptr<OpenDocument> open(std::uint64_t pageCount)
    {
        std::optional<DocumentAnswer<std::shared_ptr<OpenDocument>>> opened;
        documents.open(documentFile("%PDF"), keep(opened));
        EXPECT_FALSE(opened) << "nothing waits for the worker";
        answer<requests::OpenDocument::Answer>({{pageCount}});
        return opened->value();
    }

    FakeWorkers workers;
    WorkerDocuments documents{workers};
};

TEST_F(WorkerDocumentTest, CannotBeOpenedWhenTheWorkerCannot)
{
    std::optional<DocumentAnswer<std::shared_ptr<OpenDocument>>> opened;
    documents.open(documentFile("%PDF"), keep(opened));
    answer<requests::OpenDocument::Answer>(
        failure(DocumentError{.kind = DocumentError::Kind::needsPassword}));
    EXPECT_EQ(opened->error().kind, DocumentError::Kind::needsPassword);
    documents.open(documentFile("%PDF"), keep(opened));
    fail(Kind::timedOut);
    EXPECT_EQ(opened->error().description(), "the worker took too long");
    EXPECT_THAT(workers.ended, SizeIs(2)) << "workers need not keep them";
}

TEST_F(WorkerDocumentTest, HandsOverOneDocumentHoweverManyRequestsThereAre)
{
    const auto document = open(9);
    document->readPages(2, 3, [](const auto&) {});
    document->recognizePage(5, 300, "deu", [](const auto&) {});
    const auto reading = workers.take();
    const auto recognition = workers.take();
    const auto pages = asRequest<requests::ReadPages>(reading.request.message);
    const auto page = asRequest<requests::RecognizePage>(recognition.request.message);
    EXPECT_EQ(pages.first, 2U);
    EXPECT_EQ(pages.count, 3U);
    EXPECT_EQ(page.page, 5U);
    EXPECT_EQ(page.resolution, 300);
    EXPECT_EQ(page.language, "deu");
    EXPECT_EQ(pages.document.content.file, page.document.content.file);
    EXPECT_EQ(contentOf(page.document.content), "%PDF");
    EXPECT_EQ(pages.document.number, page.document.number);
    EXPECT_EQ(recognition.job, reading.job);
    EXPECT_EQ(reading.request.page, std::nullopt);
    EXPECT_EQ(recognition.request.page, 5U) << "which has a budget of its own";
}

TEST_F(WorkerDocumentTest, RefusesOtherThanThePagesItAskedFor)
{
    const auto document = open(9);
    for (const std::size_t count : {0U, 1U, 3U}) {
        std::optional<DocumentAnswer<std::vector<PageInfo>>> pages;
        document->readPages(0, 2, keep(pages));
        answer<requests::ReadPages::Answer>({{std::vector<PageInfo>(count)}});
        EXPECT_EQ(pages->error().description(), "invalid response from worker");
    }
}

TEST_F(WorkerDocumentTest, ReplacesWhatIsInTheOutputBeforeEachTry)
{
    const auto document = open(1);
    const SharedDescriptor output = unnamedFile();
    const auto size = [&] {
        struct stat status {};
        EXPECT_EQ(::fstat(output->get(), &status), 0);
        return status.st_size;
    };
    const auto write = [&] { return ::write(output->get(), "half of a PDF", 13); };
    ASSERT_EQ(write(), 13);
    document->write({}, {}, output, [](const auto&) {});
    EXPECT_EQ(size(), 0);
    ASSERT_EQ(write(), 13);
    EXPECT_EQ(size(), 13) << "from the start";
    ASSERT_TRUE(workers.submitted.front().request.beforeRetry());
    EXPECT_EQ(size(), 0);
    ASSERT_EQ(write(), 13);
    EXPECT_EQ(size(), 13);
}

TEST_F(WorkerDocumentTest, TellsWhyItWasNotWritten)
{
    using WriteKind = PDFWriteError::Kind;
    const auto document = open(1);
    std::optional<Result<void, PDFWriteError>> written;
    const auto write = [&] { document->write({}, {}, unnamedFile(), keep(written)); };
    write();
    answer<requests::WriteDocument::Answer>({});
    EXPECT_TRUE(*written);
    write();
    answer<requests::WriteDocument::Answer>({{PDFWriteError{WriteKind::sourceIsSigned, ""}}});
    EXPECT_EQ(written->error(), (PDFWriteError{WriteKind::sourceIsSigned, ""}));
    write();
    fail(Kind::outOfMemory);
    EXPECT_EQ(written->error(),
              (PDFWriteError{WriteKind::workerFailed, "the worker ran out of memory"}));
    document->write({}, {}, share(FileDescriptor()), keep(written));
    EXPECT_EQ(written->error().kind, WriteKind::cannotWrite);
}

TEST_F(WorkerDocumentTest, MayBeWrittenWhateverItsPagesHaveLost)
{
    const auto document = open(1);
    document->write({}, {}, unnamedFile(), [](const auto&) {});
    document->recognizePage(0, 300, "eng", [](const auto&) {});
    EXPECT_GE(workers.take().request.reservedTime, 5s);
    EXPECT_EQ(workers.take().request.reservedTime, 0s);
}

TEST_F(WorkerDocumentTest, EndsItsRequestsWhenItIsDestroyedOrCancelledAndThoseMadeLater)
{
    auto document = open(1);
    std::optional<DocumentAnswer<PageReading>> reading;
    document->recognizePage(0, 300, "eng", keep(reading));
    EXPECT_THAT(workers.ended, IsEmpty());
    document->cancel();
    const std::pair ending(workers.submitted.front().job,
                           requests::codeOf<requests::ReleaseDocument>());
    EXPECT_THAT(workers.ended, ElementsAre(ending));
    std::optional<DocumentAnswer<PageReading>> late;
    document->recognizePage(1, 300, "eng", keep(late));
    EXPECT_TRUE(late->error().stopped());
    document.reset();
    EXPECT_THAT(workers.ended, ElementsAre(ending, ending));
    fail(Kind::cancelled);
    EXPECT_TRUE(reading->error().stopped());
    EXPECT_THAT(workers.submitted, IsEmpty());

    document = open(1);
    workers.beforeSubmit = [&] { document->cancel(); };
    document->recognizePage(0, 300, "eng", keep(reading));
    EXPECT_THAT(workers.ended, SizeIs(4)) << "once more, after the request";
}

TEST_F(WorkerDocumentTest, ConvertsARasterIntoAFileThatIsAsLongAsTheWorkerSays)
{
    const SharedDescriptor output = documentFile("something else").file;
    std::optional<DocumentAnswer<std::uint64_t>> converted;
    documents.convertRaster(documentFile("UNIRAST"), output, keep(converted));
    ASSERT_EQ(::write(output->get(), "half", 4), 4);
    const WorkerRequest& request = workers.submitted.front().request;
    EXPECT_GE(request.limit, 10min) << "for 16 GiB of pixels";
    EXPECT_EQ(request.reservedTime, request.limit);
    ASSERT_TRUE(request.beforeRetry());
    ASSERT_EQ(::write(output->get(), "%PDF", 4), 4);
    EXPECT_EQ(contentOf({output, 4}), "%PDF") << "the next worker starts over";
    answer<requests::ConvertRaster::Answer>({{.length = 5}});
    EXPECT_EQ(converted->error().failure.kind, Kind::invalidResponse);
}

TEST_F(WorkerDocumentTest, AsksForTheLanguagesOnceAndRemembersThem)
{
    using Names = std::vector<std::string>;
    std::optional<DocumentAnswer<Names>> first, second, third;
    const auto listed = [](const Names& names) {
        return DocumentAnswer<requests::ListLanguages::Answer>(
            requests::ListLanguages::Answer{names});
    };
    documents.languages(keep(first));
    documents.languages(keep(second));
    fail(Kind::crashed);
    EXPECT_EQ(first->error().failure.kind, Kind::crashed);
    EXPECT_EQ(second->error().failure.kind, Kind::crashed);
    documents.languages(keep(first));
    answer(listed({}));
    EXPECT_THAT(first->value(), IsEmpty());
    documents.languages(keep(first));
    documents.languages(keep(second));
    answer(listed({"deu", "eng"}));
    documents.languages(keep(third));
    for (const auto& answer : {first, second, third})
        EXPECT_THAT(answer->value(), ElementsAre("deu", "eng"));
    EXPECT_THAT(workers.submitted, IsEmpty());
}

TEST_F(WorkerDocumentTest, AsksForTheLanguagesAgainAfterThereWasNoMemoryForIt)
{
    std::optional<DocumentAnswer<std::vector<std::string>>> first, second;
    workers.isOutOfMemory = true;
    documents.languages(keep(first));
    ASSERT_TRUE(first);
    EXPECT_EQ(first->error().failure.kind, Kind::outOfMemory);
    documents.languages(keep(second));
    ASSERT_THAT(workers.submitted, SizeIs(1));
    answer(DocumentAnswer<requests::ListLanguages::Answer>({{"deu"}}));
    EXPECT_THAT(second->value(), ElementsAre("deu"));
}

} // namespace
} // namespace korvane
