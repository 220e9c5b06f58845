#include "desktop/GnoteNotes.h"
#include "desktop/HTMLNotes.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <vector>

namespace korvane {

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

/** Gnote's remote control, with faults. */
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

    bool pause(std::chrono::milliseconds /*delay*/) override { return true; }

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
    const Note note{.folder = "Printed",
                    .title = "50% & more",
                    .body = "<h1>\x01"
                            "50%</h1>\r\nx",
                    .file = folder.write("saved/Report 2025.pdf", "%PDF-first")};
    HTMLNotes notes(folder.path() / "Notes");
    EXPECT_EQ(notes.addNote(note), (folder.path() / "Notes/Printed/50_ & more.html").native());
    folder.write("Notes/Printed/50_ & more 2.pdf", "the user's own");
    folder.write("Notes/Printed/50_ & more 3.html", "the user's own");
    ASSERT_TRUE(notes.addNote(note));
    EXPECT_EQ(folder.read("Notes/Printed/50_ & more.pdf"), "%PDF-first");
    EXPECT_EQ(folder.read("Notes/Printed/50_ & more 2.pdf"), "the user's own");
    EXPECT_EQ(folder.read("Notes/Printed/50_ & more 3.html"), "the user's own");
    EXPECT_EQ(folder.read("Notes/Printed/50_ & more 4.pdf"), "%PDF-first");
    const std::string document = folder.read("Notes/Printed/50_ & more 4.html");
    EXPECT_NE(document.find("<title>50% &amp; more</title>"), std::string::npos);
    EXPECT_NE(document.find("<body>\n<h1>50%</h1>\nx\n<p><a href=\"./50_%20%26%20more%204.pdf\">"
                            "50_ &amp; more 4.pdf</a></p>\n</body>"),
              std::string::npos)
        << document;
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path() / "Notes/Printed"), {}), 6);
}

TEST(HTMLNotes, StayInTheirFolderWhateverTheirNames)
{
    std::vector<std::string> names = {"a\0b"s, ""s + '\0', std::string(300, 'n'),
                                      std::string(301, 'n')};
    for (const char* name :
         {".",      "..",        "../..", "/",    "/etc/passwd", ".hidden", " .x",  "a",
          " a",     "a ",        "A",     "a/b",  "a%2Fb",       "a%252Fb", "a\nb", "\x7F",
          "\u0085", "\u202Egpj", "gpj",   "\xFF", "%",           "%00",     "a:b"})
        names.emplace_back(name);
    const TemporaryFolder folder;
    const fs::path root = folder.path() / "Notes";
    const fs::path pdf = folder.write("a.pdf", "%PDF");
    HTMLNotes notes(root);
    std::set<fs::path> directories;
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const auto id = notes.addNote({.folder = name, .title = name, .body = "x", .file = pdf});
        ASSERT_TRUE(id) << id.error().description;
        const fs::path directory = fs::path(*id).parent_path();
        EXPECT_EQ(directory.parent_path(), root);
        EXPECT_EQ(directory, directory.lexically_normal());
        EXPECT_NE(fs::path(*id).filename().native().front(), '.');
        EXPECT_EQ(fs::path(*id).filename().native().find_first_of("/\\:\n\xFF\x7F"),
                  std::string::npos);
        EXPECT_TRUE(directories.insert(directory).second) << "another folder has its directory";
    }
    EXPECT_TRUE(fs::exists(root / "%2E."));
    EXPECT_TRUE(fs::exists(root / " a" / "a.html"));
    EXPECT_EQ(folder.entryCount(), 2);
}

TEST(HTMLNotes, LeaveNothingBehindWhenTheyFail)
{
    const TemporaryFolder folder;
    const Note note{.folder = "f", .title = "a", .body = "b", .file = folder.path() / "gone.pdf"};
    const fs::path directory = folder.path() / "Notes/f";
    EXPECT_EQ(HTMLNotes(folder.path() / "Notes").addNote(note).error().description,
              "Can't write " + (directory / "a.pdf").native() + ": No such file or directory.");
    EXPECT_TRUE(fs::is_empty(directory));
    // The PDF finds its place, the note does not.
    fs::create_symlink("nowhere", directory / "a.html");
    Note present = note;
    present.file = folder.write("a.pdf", "%PDF");
    EXPECT_EQ(HTMLNotes(folder.path() / "Notes").addNote(present),
              (directory / "a 2.html").native());
    EXPECT_FALSE(fs::exists(directory / "a.pdf"));
    EXPECT_EQ(HTMLNotes(folder.write("file", "")).addNote(note).error().description,
              "Can't make the folder " + (folder.path() / "file/f").native() + ".");
}

TEST(GnoteNotes, HaveATitleOfTheirOwnTheirTextAndALinkToTheFile)
{
    FakeGnote::State state{.contents = {{"note://Tax <1>", "the user's own"}}};
    FakeGnote gnote(state);
    GnoteNotes notes(GnoteRemote::open(gnote));
    EXPECT_EQ(notes.addNote({.folder = " Printed\n",
                             .title = " .Tax\n<1>.; ",
                             .body = "<h1>Tax\n&lt;1&gt;</h1>\n"
                                     "<p style=\"x\">a &amp;lt; b\x02\r\n&#39;</p>",
                             .file = "/home/u/50% & \"x\".pdf"}),
              "note://Tax <1> (2)");
    EXPECT_EQ(state.contents["note://Tax <1>"], "the user's own");
    EXPECT_EQ(state.contents["note://Tax <1> (2)"],
              "<note-content version=\"0.1\" xmlns:link=\"http://beatniksoftware.com/tomboy/link\">"
              "Tax &lt;1&gt; (2)\n\na &amp;lt; b\n&#39;\n\n"
              "<link:url>file:///home/u/50%25%20%26%20%22x%22.pdf</link:url></note-content>\n");
    EXPECT_EQ(state.tags["note://Tax <1> (2)"], "system:notebook:Printed");
}

TEST(GnoteNotes, AreDeletedWhenGnoteFailsHalfWay)
{
    const BusReply error = failure(BusError{"org.freedesktop.DBus.Error.NoReply", "Too late"});
    const BusReply nothing = std::vector<BusValue>{}, number = std::vector<BusValue>{7},
                   no = std::vector<BusValue>{false};
    const std::tuple<std::string, BusReply, std::string> cases[] = {
        {"", nothing, "Gnote did not accept the note's text."},
        {"SetNoteContentsXml", error, "Gnote failed at SetNoteContentsXml: Too late."},
        {"SetNoteContentsXml", no, "Gnote did not accept the note's text."},
        {"GetNoteContentsXml", number, "Invalid answer from Gnote to GetNoteContentsXml."},
        {"AddTagToNote", no, "Gnote has no notebook \"f\"."},
        {"CreateNamedNote", nothing, "Invalid answer from Gnote to CreateNamedNote."},
        {"CreateNamedNote", std::vector<BusValue>{""s}, "Gnote made no note of the title \"t\"."},
    };
    for (const auto& [member, answer, description] : cases) {
        FakeGnote::State state{.ignoresText = member.empty(), .answers = {{member, answer}}};
        FakeGnote gnote(state);
        GnoteNotes notes(GnoteRemote::open(gnote));
        const Note note{.folder = "f", .title = "t", .body = "x", .file = "/p"};
        EXPECT_EQ(notes.addNote(note).error().description, description);
        EXPECT_TRUE(state.contents.empty());
    }
}

TEST(GnoteNotes, NeedAGnoteThatAnswers)
{
    FakeGnote::State absent{.names = {"org.gnome.gedit"}};
    FakeGnote gedit(absent);
    EXPECT_EQ(GnoteRemote::open(gedit), nullptr);
    FakeGnote::State broken{
        .answers = {
            {"Version", failure(BusError{"org.freedesktop.DBus.Error.Spawn.ChildExited"})}}};
    FakeGnote gnote(broken);
    EXPECT_EQ(GnoteRemote::open(gnote), nullptr);
}

} // namespace korvane
