#include "platform/notes/GnoteNotes.h"
#include "platform/notes/HTMLNotes.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace korvane {

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

/** A Gnote of a few lines, as far as it matters when it misbehaves. */
class FakeGnote final : public BlockingBus {
public:
    struct State {
        std::vector<std::string> names = {"org.gnome.Gnote"};
        int unansweredCalls = 1;
        bool ignoresText = false;
        std::map<std::string, std::string> contents;
        std::map<std::string, std::string> tags;
        /** In place of the member's own answer. */
        std::map<std::string, BusReply> answers;
    };

    explicit FakeGnote(State& state) : state_(state) {}

    BusReply call(const BusCall& call) override
    {
        if (call.destination == "org.freedesktop.DBus") return answer(state_.names);
        if (state_.unansweredCalls-- > 0) {
            return failure(BusError{"org.freedesktop.DBus.Error.UnknownMethod", "no object"});
        }
        if (const auto found = state_.answers.find(call.member); found != state_.answers.end()) {
            return found->second;
        }
        const std::string first = argument(call, 0), second = argument(call, 1);
        if (call.member == "Version") return answer("43.1"s);
        if (call.member == "CreateNamedNote") {
            const bool isNew = state_.contents.try_emplace("note://" + first).second;
            return answer(isNew ? "note://" + first : ""s);
        }
        if (call.member == "SetNoteContentsXml" && !state_.ignoresText) {
            state_.contents[first] = second + "\n";
        }
        if (call.member == "GetNoteContentsXml") return answer(state_.contents[first]);
        if (call.member == "AddTagToNote") state_.tags[first] = second;
        if (call.member == "DeleteNote") state_.contents.erase(first);
        return answer(true);
    }

private:
    static BusReply answer(BusValue value) { return std::vector{std::move(value)}; }
    static std::string argument(const BusCall& call, std::size_t place)
    {
        const auto* const text = busArgument<std::string>(call.arguments, place);
        return text ? *text : "";
    }

    State& state_;
};

} // namespace

TEST(HTMLNotes, PutEachNoteAndItsPDFSideBySideAndReplaceNothing)
{
    const TemporaryFolder folder;
    const fs::path pdf = folder.write("saved/Report 2025.pdf", "%PDF-first"),
                   root = folder.path() / "Notes";
    HTMLNotes notes(root);
    EXPECT_FALSE(notes.folderExists("Printed").value());
    ASSERT_TRUE(notes.makeFolder("Printed"));
    EXPECT_TRUE(notes.folderExists("Printed").value());
    folder.write("Notes/Printed/50% & more.pdf", "the user's own");
    for (int i = 0; i < 2; ++i) {
        const auto id = notes.makeNote("Printed", "50% & more",
                                       "<h1>\x01"
                                       "50%</h1>\r\nx");
        ASSERT_TRUE(id) << id.error().description;
        ASSERT_TRUE(notes.makeAttachment(*id, pdf));
    }
    EXPECT_EQ(folder.read("Notes/Printed/50_ & more.pdf"), "%PDF-first");
    EXPECT_EQ(folder.read("Notes/Printed/50_ & more 2.pdf"), "%PDF-first");
    EXPECT_EQ(folder.read("Notes/Printed/50% & more.pdf"), "the user's own");
    const std::string note = folder.read("Notes/Printed/50_ & more 2.html");
    EXPECT_NE(note.find("<title>50% &amp; more</title>"), std::string::npos);
    EXPECT_NE(note.find("<body>\n<h1>50%</h1>\nx\n<p><a href=\"./50_%20%26%20more%202.pdf\">"
                        "50_ &amp; more 2.pdf</a></p>\n</body>"),
              std::string::npos)
        << note;
    EXPECT_EQ(std::distance(fs::directory_iterator(root / "Printed"), {}), 5);
}

TEST(HTMLNotes, StayInTheirFolderWhateverTheirNames)
{
    const std::string names[] = {".",
                                 "..",
                                 "../..",
                                 "/",
                                 "/etc/passwd",
                                 ".hidden",
                                 " .x",
                                 "a",
                                 " a",
                                 "a ",
                                 "A",
                                 "a/b",
                                 "a%2Fb",
                                 "a%252Fb",
                                 "a\nb",
                                 "a\0b"s,
                                 "\x7F",
                                 "\u0085",
                                 "\u202Egpj",
                                 "gpj",
                                 "\xFF",
                                 "%",
                                 "%00",
                                 ""s + '\0',
                                 std::string(300, 'n'),
                                 std::string(301, 'n'),
                                 std::string(255, 'n'),
                                 "CON",
                                 "a:b",
                                 "\u00E9",
                                 "-rf",
                                 "~"};
    const TemporaryFolder folder;
    const fs::path root = folder.path() / "Notes";
    HTMLNotes notes(root);
    std::set<fs::path> directories;
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(notes.folderExists(name).value()) << "another folder has its directory";
        ASSERT_TRUE(notes.makeFolder(name));
        const auto id = notes.makeNote(name, name, "x");
        ASSERT_TRUE(id) << id.error().description;
        const fs::path directory = fs::path(*id).parent_path();
        EXPECT_EQ(directory.parent_path(), root);
        EXPECT_EQ(directory, directory.lexically_normal());
        EXPECT_NE(fs::path(*id).filename().native().front(), '.');
        EXPECT_EQ(fs::path(*id).filename().native().find_first_of("/\\:\n\xFF\x7F"),
                  std::string::npos);
        EXPECT_TRUE(directories.insert(directory).second);
    }
    EXPECT_TRUE(fs::exists(root / "%2E."));
    EXPECT_TRUE(fs::exists(root / " a" / "a.html"));
    EXPECT_EQ(folder.entryCount(), 1);
}

TEST(HTMLNotes, LeaveNothingBehindWhenTheyFail)
{
    const TemporaryFolder folder;
    HTMLNotes notes(folder.path() / "Notes");
    EXPECT_FALSE(notes.makeNote("none", "a", "b"));
    ASSERT_TRUE(notes.makeFolder("f"));
    const auto id = notes.makeNote("f", "a", "b");
    ASSERT_TRUE(notes.makeAttachment(*id, folder.write("a.pdf", "%PDF")));
    const auto missing = notes.makeAttachment(*id, folder.path() / "gone.pdf");
    EXPECT_EQ(missing.error().description, "Can't write " +
                                               (folder.path() / "Notes/f/a 2.pdf").native() +
                                               ": No such file or directory.");
    notes.deleteNote(*id);
    notes.deleteNote(folder.path() / "a.pdf");
    EXPECT_TRUE(fs::is_empty(folder.path() / "Notes" / "f"));
    EXPECT_TRUE(fs::exists(folder.path() / "a.pdf"));
    HTMLNotes nowhere(folder.write("file", ""));
    EXPECT_FALSE(nowhere.makeFolder("f"));
}

TEST(GnoteNotes, HaveATitleOfTheirOwnTheirTextAndALinkToTheFile)
{
    FakeGnote::State state{.contents = {{"note://Tax <1>", "the user's own"}}};
    GnoteNotes notes(GnoteRemote::open(std::make_unique<FakeGnote>(state)));
    const auto id =
        notes.makeNote(" Printed\n", " .Tax\n<1>.; ",
                       "<h1>Tax\n&lt;1&gt;</h1>\n<p style=\"x\">a &amp;lt; b\x02\r\n&#39;</p>");
    ASSERT_TRUE(id) << id.error().description;
    ASSERT_TRUE(notes.makeAttachment(*id, "/home/u/50% & \"x\".pdf"));
    EXPECT_EQ(state.contents["note://Tax <1>"], "the user's own");
    EXPECT_EQ(state.contents["note://Tax <1> (2)"],
              "<note-content version=\"0.1\" xmlns:link=\"http://beatniksoftware.com/tomboy/link\">"
              "Tax &lt;1&gt; (2)\n\na &amp;lt; b\n'\n\n"
              "<link:url>file:///home/u/50%25%20%26%20%22x%22.pdf</link:url></note-content>\n");
    EXPECT_EQ(state.tags["note://Tax <1> (2)"], "system:notebook:Printed");
}

TEST(GnoteNotes, AreNotThereWhenGnoteDidNotTakeThem)
{
    const BusReply error = failure(BusError{"org.freedesktop.DBus.Error.NoReply", "Too late"});
    const BusReply nothing = std::vector<BusValue>{}, number = std::vector<BusValue>{7},
                   no = std::vector<BusValue>{false};
    const std::tuple<std::string, BusReply, std::string> cases[] = {
        {"", nothing, "Gnote did not take the note's text."},
        {"SetNoteContentsXml", error, "Gnote failed at SetNoteContentsXml: Too late."},
        {"SetNoteContentsXml", no, "Gnote did not take the note's text."},
        {"GetNoteContentsXml", number, "Gnote gave no sensible answer to GetNoteContentsXml."},
        {"AddTagToNote", no, "Gnote has no notebook \"f\"."},
        {"CreateNamedNote", nothing, "Gnote gave no sensible answer to CreateNamedNote."},
        {"CreateNamedNote", std::vector<BusValue>{""s}, "Gnote made no note of the title \"t\"."},
    };
    for (const auto& [member, answer, description] : cases) {
        FakeGnote::State state{.ignoresText = member.empty(), .answers = {{member, answer}}};
        GnoteNotes notes(GnoteRemote::open(std::make_unique<FakeGnote>(state)));
        EXPECT_EQ(notes.makeNote("f", "t", "x").error().description, description);
        EXPECT_TRUE(state.contents.empty());
    }
}

TEST(GnoteNotes, AreForDesktopsWithAGnoteThatAnswers)
{
    FakeGnote::State absent{.names = {"org.gnome.gedit"}};
    EXPECT_EQ(GnoteRemote::open(std::make_unique<FakeGnote>(absent)), nullptr);
    FakeGnote::State broken{
        .answers = {
            {"Version", failure(BusError{"org.freedesktop.DBus.Error.Spawn.ChildExited"})}}};
    EXPECT_EQ(GnoteRemote::open(std::make_unique<FakeGnote>(broken)), nullptr);
}

} // namespace korvane
