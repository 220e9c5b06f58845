#include "desktop/NotificationManager.h"

#include "support/FakeNotificationCenter.h"
#include "support/RecordingLog.h"

#include <gmock/gmock.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace korvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Pair;

class NotificationManagerTest : public testing::Test, public FileViewer, public NoteViewer {
protected:
    NotificationManagerTest()
    {
        manager->configure();
        log.clear();
    }

    void reveal(const std::filesystem::path& file, const std::string& token,
                OpeningHandler handler) override
    {
        done.push_back("reveal " + file.string() + " " + token);
        handler(opening);
    }

    void show(const std::string& id, const std::string& token, OpeningHandler handler) override
    {
        done.push_back("show " + id + " " + token);
        handler(opening);
    }

    void post(const std::string& name, bool notesEnabled, std::string text = "text")
    {
        manager->postJobNotification({.pdfURL = "/saved/" + name,
                                      .plainText = std::move(text),
                                      .summary = "Dear",
                                      .jobName = name},
                                     notesEnabled);
    }

    void takeNotes()
    {
        manager->onAddToNotes = [this](const CompletedJob& job) {
            done.push_back("note " + job.jobName);
        };
    }

    FakeNotificationCenter center;
    RecordingLog log;
    std::shared_ptr<NotificationManager> manager =
        std::make_shared<NotificationManager>(center, *this, *this, log);
    /** What comes of what is to be shown. */
    Result<void, std::string> opening;
    /** What the user's choices led to. */
    std::vector<std::string> done;
};

TEST_F(NotificationManagerTest, DoesWhatTheUserChooses)
{
    const struct {
        bool notesEnabled;
        const char* action;
        std::vector<std::string> outcome;
    } choices[] = {
        {true, "KV_ACTION_ADD_TO_NOTES", {"note Letter"}},
        {true, "KV_ACTION_REVEAL", {"reveal /saved/Letter token"}},
        {true, NotificationResponse::defaultAction, {"note Letter"}},
        {true, NotificationResponse::dismissAction, {}},
        {false, "KV_ACTION_REVEAL", {"reveal /saved/Letter token"}},
        {false, NotificationResponse::defaultAction, {"reveal /saved/Letter token"}},
        {false, "unheard of", {}},
    };
    takeNotes();
    for (const auto& choice : choices) {
        SCOPED_TRACE(choice.action);
        done.clear();
        post("Letter", choice.notesEnabled);
        center.choose(choice.action);
        EXPECT_EQ(done, choice.outcome);
    }
}

TEST_F(NotificationManagerTest, IgnoresAddToNotesUntilItsCallbackIsSet)
{
    post("Letter", true);
    center.choose("KV_ACTION_ADD_TO_NOTES");
    EXPECT_THAT(done, IsEmpty());
}

TEST_F(NotificationManagerTest, LogsOnceThatThereIsNoServiceButEveryOtherFailure)
{
    center.failure = NotificationError{.isUnavailable = true, .text = "There is no session bus"};
    manager->configure();
    post("Letter", false);
    manager->showPortUnavailable(8631, "taken");
    EXPECT_THAT(log.lines(), ElementsAre("Notifications: auth error: There is no session bus",
                                         "Notifications: granted=false"));
    center.failure.reset();
    post("Letter", false);
    center.failure = NotificationError{.text = "refused"};
    log.clear();
    post("Letter", false);
    manager->showPortUnavailable(8631, "taken");
    EXPECT_THAT(log.errors(), ElementsAre("Notifications: post failed: refused",
                                          "Notifications: port-unavailable post failed: refused"));
}

TEST_F(NotificationManagerTest, TellsWhereItIsWhatNothingCanShow)
{
    opening = failure(std::string("no viewer"));
    post("Letter", false);
    EXPECT_EQ(center.latest().content.file, "/saved/Letter");
    center.choose("KV_ACTION_REVEAL");
    EXPECT_EQ(center.latest().content.body, "It is /saved/Letter");
    manager->showNoteAdded("Letter", "/notes/Letter.html");
    EXPECT_EQ(center.latest().content.title, "Added to Notes");
    center.choose(NotificationResponse::defaultAction);
    EXPECT_EQ(center.latest().content.body, "It is /notes/Letter.html");
    manager->showNoteAdded("Letter", "note://gnote/1");
    center.choose("KV_ACTION_OPEN_NOTE");
    EXPECT_EQ(center.latest().content.body, "It is in Notes: Letter");
    EXPECT_THAT(log.errors(), ElementsAre("Notifications: can't show /saved/Letter: no viewer",
                                          "Notifications: can't show /notes/Letter.html: no viewer",
                                          "Notifications: can't show note://gnote/1: no viewer"));
}

/** Beyond 256 jobs, or beyond 32 MiB of text. */
TEST_F(NotificationManagerTest, ShowsTheFileOfAJobWhoseTextWasDropped)
{
    takeNotes();
    for (const auto& [count, bytes] : {std::pair(256, 0), std::pair(1, 32 << 20)}) {
        SCOPED_TRACE(count);
        post("First", true);
        const auto first = center.latest();
        post("Second", true);
        const auto second = center.latest();
        for (int i = 1; i < count; ++i) post("More", true);
        if (count == 1) post("Large", true, std::string(static_cast<std::size_t>(bytes) - 5, 'x'));
        center.choose(first, "KV_ACTION_ADD_TO_NOTES");
        center.choose(second, "KV_ACTION_ADD_TO_NOTES");
        EXPECT_THAT(done, ElementsAre("reveal /saved/First token", "note Second"));
        done.clear();
    }
}

} // namespace
} // namespace korvane
