#include "platform/documents/WorkerDocument.h"

#include "platform/base/MemoryFile.h"
#include "platform/documents/WorkerDocuments.h"
#include "support/FakeWorkers.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

namespace korvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Kind = WorkerFailure::Kind;

class WorkerDocumentTest : public testing::Test {
protected:
    /** The next answers, after a status that says that all went well. */
    void answerWith(std::function<void(WireWriter&)> write)
    {
        workers.answer = [write = std::move(write)](const WorkerMessage&) -> WorkerAnswer {
            WireWriter writer;
            wire::write(writer, wire::Status());
            write(writer);
            return writer.message();
        };
    }

    void failWith(Kind kind)
    {
        workers.answer = [kind](const WorkerMessage&) { return failure(WorkerFailure{kind}); };
    }

    FakeWorkers workers;
    std::shared_ptr<WorkerDocument> document =
        std::make_shared<WorkerDocument>(workers, Data::copying("%PDF"));
    const PagePicture picture{.id = 1,
                              .width = 10,
                              .height = 10,
                              .resolution = 200,
                              .pixels = share(makeMemoryFile()),
                              .workTime = std::make_shared<WorkTime>()};
};

TEST_F(WorkerDocumentTest, RefusesAnswersThatWereNotAskedFor)
{
    const auto read = [&] { return document->readPages(0, 2).get().error(); };
    const auto layOut = [&] { return document->layOut(0, 200).get().error(); };
    const auto recognize = [&] {
        return document->recognize(picture, {{}, {}}, "eng").get().error();
    };
    const auto render = [&] { return document->render(0, 200).error(); };
    const PageInfo page{.text = "text"};
    struct Case {
        const char* name;
        std::function<DocumentError()> ask;
        std::function<void(WireWriter&)> answer;
    };
    const Case cases[] = {
        {"too few pages", read, [&](WireWriter& out) { out.count(1), wire::write(out, page); }},
        {"a page cut short", read, [&](WireWriter& out) { out.count(2), wire::write(out, page); }},
        {"more than the pages", read,
         [&](WireWriter& out) {
             out.count(2), wire::write(out, page), wire::write(out, page), out.u8(0);
         }},
        {"a million lines of two", recognize,
         [](WireWriter& out) { out.count(1'000'000), out.string(std::string(1'000'000, '\0')); }},
        {"another picture", layOut,
         [](WireWriter& out) {
             wire::writeShape(out, {.id = 0, .width = 1, .height = 1, .resolution = 200});
             wire::write(out, std::vector<PixelBox>());
         }},
        {"nothing at all", render, [](WireWriter&) {}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        answerWith(each.answer);
        EXPECT_EQ(each.ask().description(), "the worker's answer made no sense");
    }
    answerWith([](WireWriter& out) { out.boolean(false), out.u8(9), out.string(""); });
    EXPECT_EQ(
        document->write({}, {}, picture.pixels->get()).error(),
        (PDFWriteError{PDFWriteError::Kind::workerFailed, "the worker's answer made no sense"}));
}

TEST_F(WorkerDocumentTest, HandsOverOneDocumentHoweverManyRequestsThereAre)
{
    std::vector<SharedDescriptor> given;
    workers.answer = [&](WorkerMessage request) -> WorkerAnswer {
        std::ranges::move(request.descriptors, std::back_inserter(given));
        return failure(WorkerFailure{Kind::crashed});
    };
    static_cast<void>(document->readPages(0, 1).get());
    static_cast<void>(document->layOut(0, 200).get());
    ASSERT_EQ(given.size(), 3U);
    EXPECT_EQ(given[0], given[1]);
    EXPECT_NE(::ftruncate(given[2]->get(), off_t{1} << 40), 0) << "a worker could fill all memory";
}

TEST_F(WorkerDocumentTest, AddsUpTheTimeThatWorkersSpendOnAPage)
{
    workers.answer = [](const WorkerMessage&) { return failure(WorkerFailure{Kind::crashed}); };
    static_cast<void>(document->recognize(picture, {}, "eng").get());
    static_cast<void>(document->orientation(picture).get());
    static_cast<void>(document->turn(picture, 1).get());
    EXPECT_EQ(picture.workTime->total(), 3s);
}

TEST_F(WorkerDocumentTest, HasWorkersForgetItWhenItIsNotNeededAnyMore)
{
    document.reset();
    EXPECT_THAT(workers.ended, ElementsAre(std::pair(JobKey{1}, std::uint16_t{11})));
}

TEST_F(WorkerDocumentTest, IsOpenedOnceItsPagesAreCounted)
{
    WorkerDocuments documents(workers, "eng");
    EXPECT_FALSE(documents.open(Data::copying("%PDF")));
    EXPECT_THAT(documents.languages(), IsEmpty());
    answerWith([](WireWriter& out) { out.u64(3); });
    EXPECT_EQ((*documents.open(Data::copying("%PDF")))->pageCount(), 3U);
    const std::vector<std::string> names = {"deu", "eng"};
    answerWith([&](WireWriter& out) {
        out.count(names.size());
        for (const std::string& name : names) out.string(name);
    });
    EXPECT_EQ(documents.languages(), names);
    // They are known from now on.
    failWith(Kind::crashed);
    EXPECT_EQ(documents.languages(), names);
}

} // namespace
} // namespace korvane
