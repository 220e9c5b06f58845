#include "spool/Spool.h"

#include "base/FileWriting.h"
#include "spool/SaveFolder.h"
#include "support/TemporaryFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <tuple>
#include <vector>

namespace korvane {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using Paths = std::vector<std::string>;

constexpr const char* content = "%PDF-1.7 what was printed";

class SpoolTest : public ::testing::Test {
protected:
    SpoolTest() { start(); }

    /** Another agent, after the end of the first. */
    void start()
    {
        spool.reset();
        spool.emplace(state.path());
    }

    DocumentFile file(std::string_view text) const
    {
        auto made = spool->makeFile();
        EXPECT_EQ(::write(made->get(), text.data(), text.size()),
                  static_cast<ssize_t>(text.size()));
        return {.file = share(*std::move(made)), .length = text.size()};
    }

    std::shared_ptr<SpooledJob> accept(const std::string& fileName = "Letter.pdf", int second = 1)
    {
        return *spool->accept(
            {.jobName = "Letter \n\xC3\xA9",
             .accepted = std::chrono::system_clock::time_point(std::chrono::seconds(second)),
             .saveDirectory = saved.path(),
             .fileName = fileName},
            file(content));
    }

    static Paths names(const std::filesystem::path& folder)
    {
        Paths found;
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            found.push_back(entry.path().filename());
        std::ranges::sort(found);
        return found;
    }
    Paths spooled() const { return names(state.path() / "spool"); }

    TemporaryFolder state;
    TemporaryFolder saved;
    std::optional<Spool> spool;
};

std::string read(const DocumentFile& document)
{
    std::string text(document.length, '\0');
    EXPECT_EQ(::pread(document.file->get(), text.data(), text.size(), 0),
              static_cast<ssize_t>(text.size()));
    return text;
}

TEST_F(SpoolTest, KeepsAcceptedJobsAcrossTheEndOfTheAgent)
{
    const JobTicket ticket = accept("Second.pdf", 2)->ticket();
    accept("First.pdf", 1);
    start();
    const auto jobs = spool->recover();
    ASSERT_EQ(jobs.size(), 2U);
    EXPECT_EQ(jobs[0]->ticket().fileName, "First.pdf");
    EXPECT_EQ(jobs[1]->ticket(), ticket);
    EXPECT_EQ(read(*jobs[1]->open()), content);
    EXPECT_EQ(jobs[0]->publishAsReceived(), saved.path() / "First.pdf");
    EXPECT_EQ(jobs[1]->publish(file("recognized")), saved.path() / "Second.pdf");
    EXPECT_EQ(saved.read("First.pdf"), content);
    EXPECT_EQ(saved.read("Second.pdf"), "recognized");
    EXPECT_THAT(spooled(), IsEmpty());
    start();
    EXPECT_THAT(spool->recover(), IsEmpty());
}

TEST_F(SpoolTest, AcceptsFilesThatCannotBeGivenANameAnyMore)
{
    const auto path = state.write("unlinked", content);
    FileDescriptor unlinked(::open(path.c_str(), O_RDWR | O_CLOEXEC));
    std::filesystem::remove(path);
    const auto job = spool->accept({.saveDirectory = saved.path(), .fileName = "a.pdf"},
                                   {.file = share(std::move(unlinked)), .length = 4});
    ASSERT_TRUE(job);
    EXPECT_EQ((*job)->publishAsReceived(), saved.path() / "a.pdf");
    EXPECT_EQ(saved.read("a.pdf"), "%PDF");
}

TEST_F(SpoolTest, CopiesWhatAWorkerWrote)
{
    const SharedDescriptor written = share(*spool->makeWorkerFile());
    ASSERT_EQ(::write(written->get(), "%PDF", 4), 4);
    const auto job =
        spool->accept({.saveDirectory = saved.path(), .fileName = "a.pdf"}, {written, 4});
    ASSERT_TRUE(job);
    ASSERT_EQ(::pwrite(written->get(), "else", 4, 0), 4);
    EXPECT_EQ(read(*(*job)->open()), "%PDF");
}

/** What stands in a record decides where files are written. */
TEST_F(SpoolTest, LeavesTheSaveFolderForNoName)
{
    for (const char* name : {"../a.pdf", "b/a.pdf", "..", "", "a.pdf"}) accept(name);
    start();
    const auto jobs = spool->recover();
    ASSERT_EQ(jobs.size(), 1U);
    EXPECT_EQ(jobs[0]->ticket().fileName, "a.pdf");
}

TEST_F(SpoolTest, MovesADocumentThatIsSavedAsItCame)
{
    const auto job = accept();
    struct stat before {};
    struct stat after {};
    ::fstat(job->open()->file->get(), &before);
    ASSERT_TRUE(job->publishAsReceived());
    ASSERT_EQ(::stat((saved.path() / "Letter.pdf").c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_nlink, 1U);
}

TEST_F(SpoolTest, NumbersJobsOfOneName)
{
    for (int job = 0; job < 3; ++job) EXPECT_TRUE(accept()->publish(file("x")));
    EXPECT_THAT(names(saved.path()), ElementsAre("Letter 2.pdf", "Letter 3.pdf", "Letter.pdf"));
}

/** What the spool and the save folder hold when an agent is killed while it publishes. */
struct Interruption {
    const char* name;
    bool isMarked;
    bool hasTemporary;
    bool isSaved;
};

class InterruptedPublishing : public SpoolTest,
                              public ::testing::WithParamInterface<Interruption> {};

TEST_P(InterruptedPublishing, IsFinishedOnce)
{
    accept();
    const auto jobFile = std::filesystem::directory_iterator(state.path() / "spool")->path();
    // The document's own file, still with the job's record behind it.
    if (GetParam().hasTemporary)
        std::filesystem::create_hard_link(jobFile,
                                          saved.path() / temporaryName(jobFile.stem().native()));
    if (GetParam().isSaved) saved.write("Letter.pdf", content);
    if (GetParam().isMarked) {
        auto marked = jobFile;
        std::filesystem::rename(jobFile, marked.replace_extension(".publishing"));
    }
    start();
    const auto jobs = spool->recover();
    ASSERT_EQ(jobs.size(), 1U);
    spool->removeStrays(saved.path());
    EXPECT_EQ(jobs[0]->publishAsReceived(), saved.path() / "Letter.pdf");
    EXPECT_THAT(names(saved.path()), ElementsAre("Letter.pdf"));
    EXPECT_EQ(saved.read("Letter.pdf"), content);
    EXPECT_THAT(spooled(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Spool, InterruptedPublishing,
                         ::testing::Values(Interruption{"BeforeTheMark", false, true, false},
                                           Interruption{"BeforeTheName", true, true, false},
                                           Interruption{"BeforeTheEnd", true, false, true},
                                           // Removed as a stray by another's agent, or in a folder
                                           // that is mounted elsewhere now.
                                           Interruption{"AndItsFileIsGone", true, false, false}),
                         [](const auto& interruption) {
                             return std::string(interruption.param.name);
                         });

TEST_F(SpoolTest, LeavesTheJobAndNothingElseWhereTheFolderCannotTakeIt)
{
    const auto job = accept();
    std::filesystem::remove(saved.path());
    EXPECT_EQ(job->publish(file("x")).error(), SystemError{ENOENT});
    EXPECT_EQ(job->publishAsReceived().error(), SystemError{ENOENT});
    EXPECT_EQ(read(*job->open()), content);
    std::filesystem::create_directory(saved.path());
    EXPECT_TRUE(job->publishAsReceived());
    EXPECT_THAT(names(saved.path()), ElementsAre("Letter.pdf"));
}

TEST_F(SpoolTest, SetsJobsAsideWhereTheUserCanOpenThem)
{
    const std::filesystem::path unsaved = state.path() / "unsaved";
    EXPECT_EQ(accept()->setAside(), unsaved / "Letter.pdf");
    EXPECT_EQ(accept()->setAside(), unsaved / "Letter 2.pdf");
    const auto removed = *accept("Removed.pdf")->setAside();
    EXPECT_EQ(state.read("unsaved/Letter.pdf"), content);
    EXPECT_THAT(spooled(), IsEmpty());

    std::filesystem::remove(removed); // by the user, who has no use for it
    start();
    const auto jobs = spool->recover();
    ASSERT_EQ(jobs.size(), 2U);
    for (const auto& job : jobs) {
        EXPECT_TRUE(job->isSetAside());
        EXPECT_TRUE(job->restore());
        EXPECT_TRUE(job->publishAsReceived());
    }
    EXPECT_THAT(names(saved.path()), ElementsAre("Letter 2.pdf", "Letter.pdf"));
    EXPECT_EQ(saved.read("Letter 2.pdf"), content);
    EXPECT_THAT(names(unsaved), IsEmpty());
}

TEST_F(SpoolTest, ForgetsDiscardedJobsWhereverTheyAre)
{
    const std::vector jobs = {accept(), accept(), accept()};
    ASSERT_TRUE(jobs[1]->setAside());
    ASSERT_TRUE(jobs[2]->setAside());
    ASSERT_TRUE(jobs[2]->restore());
    for (const auto& job : jobs) EXPECT_TRUE(job->discard());
    EXPECT_TRUE(jobs[0]->discard()) << "the user may have removed it";
    EXPECT_THAT(spooled(), IsEmpty());
    EXPECT_TRUE(std::filesystem::is_empty(state.path() / "unsaved")) << "records included";
}

/** An agent that was killed then has left the record behind the document. */
TEST_F(SpoolTest, RestoresTheDocumentAloneWhenSettingAsideWasInterrupted)
{
    auto job = accept();
    const auto spooledFile = state.path() / "spool" / spooled().front();
    std::filesystem::copy_file(spooledFile, state.path() / "interrupted");
    const auto unsaved = *job->setAside();
    std::filesystem::rename(state.path() / "interrupted", unsaved);
    job.reset();
    start();
    const auto jobs = spool->recover();
    ASSERT_EQ(jobs.size(), 1U);
    EXPECT_TRUE(jobs[0]->restore());
    EXPECT_TRUE(jobs[0]->publishAsReceived());
    EXPECT_EQ(saved.read("Letter.pdf"), content);
}

/** A job that cannot be read now may be read by the next agent. */
TEST_F(SpoolTest, RemovesNoJobThatCannotBeRead)
{
    const auto job = state.path() / "spool" / "a.job";
    std::filesystem::create_symlink(job, job);
    EXPECT_THAT(spool->recover(), IsEmpty());
    EXPECT_THAT(spooled(), ElementsAre("a.job"));
}

TEST_F(SpoolTest, RemovesWhatBelongsToNothingAndNothingElse)
{
    accept();
    state.write("spool/0.record", "");
    state.write("spool/1.job", "no record");
    for (const auto& folder : {saved.path(), state.path() / "spool"}) {
        std::ofstream(folder / temporaryName("00000000-0000-0000-0000-000000000000"));
        std::ofstream(folder / ".~lock.somebody else's");
    }
    const std::string inUse = temporaryName("11111111-1111-1111-1111-111111111111");
    const FileDescriptor locked(::open(saved.write(inUse, "").c_str(), O_RDWR | O_CLOEXEC));
    lockTemporary(locked.get());
    start();
    EXPECT_EQ(spool->recover().size(), 1U);
    spool->removeStrays(saved.path());
    EXPECT_THAT(names(saved.path()), UnorderedElementsAre(".~lock.somebody else's", inUse));
    EXPECT_EQ(spooled().size(), 2U);
}

TEST_F(SpoolTest, KeepsTheNewestRefusedDocuments)
{
    spool.reset();
    spool.emplace(state.path(), Spool::Limits{.refusedDocuments = 2, .refusedBytes = 10},
                  [](const auto&) { return 0; });
    EXPECT_TRUE(accept()->setAside());
    for (const char* bytes : {"one", "two", "three", "four"})
        EXPECT_TRUE(spool->keepRefused("Scan", file(bytes)));
    const std::filesystem::path unsaved = state.path() / "unsaved";
    ASSERT_THAT(names(unsaved),
                UnorderedElementsAre(".Letter.pdf.record", "Letter.pdf", "Scan", "Scan 3"));
    EXPECT_EQ(state.read("unsaved/Scan 3"), "three");
    EXPECT_EQ(state.read("unsaved/Scan"), "four");
    EXPECT_TRUE(spool->keepRefused("Large", file("123456789")));
    EXPECT_THAT(names(unsaved), UnorderedElementsAre(".Letter.pdf.record", "Letter.pdf", "Large"));
}

TEST_F(SpoolTest, BelongsToOneAgentAtATime)
{
    accept();
    Spool second(state.path());
    EXPECT_EQ(second.check().error(), SystemError{EBUSY});
    EXPECT_EQ(second.owner(), ::getpid());
    EXPECT_THAT(second.recover(), IsEmpty());
    EXPECT_EQ(second.makeFile().error(), SystemError{EBUSY});
    EXPECT_EQ(spooled().size(), 1U);
}

TEST_F(SpoolTest, LeavesTheReserveOfTheDiskFree)
{
    TemporaryFolder other;
    std::uint64_t free = 0;
    const Spool full(other.path(), {.reserve = 100}, [&](const auto&) { return free; });
    for (const auto& [available, bytes, fits] :
         {std::tuple{99, 0, false}, {100, 0, true}, {100, 1, false}, {150, 50, true}}) {
        free = static_cast<std::uint64_t>(available);
        EXPECT_EQ(full.hasRoom(static_cast<std::uint64_t>(bytes)), fits) << available;
    }
    EXPECT_TRUE(spool->hasRoom(1));
    EXPECT_FALSE(spool->hasRoom(UINT64_MAX / 2));
}

} // namespace
} // namespace korvane
