#include "desktop/NotesBridge.h"

#include "desktop/NotesProgram.h"
#include "desktop/NotesScriptRunner.h"
#include "support/TemporaryFolder.h"
#include "text/Markup.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace korvane::NotesBridge {

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

/** A notes application that keeps what it is given, or fails. */
class FakeNotes final : public NotesApplication {
public:
    Result<std::string, NotesFailure> addNote(const Note& note) override
    {
        notes.push_back(note);
        return outcome;
    }

    std::vector<Note> notes;
    Result<std::string, NotesFailure> outcome = "note";
};

} // namespace

TEST(NotesBridge, WritesTheProgramByteForByte)
{
    EXPECT_EQ(scriptSource("Tax \"2025\"", "1 < 2\nend", "Printed", "/home/u/a\\b.pdf"),
              R"(on findOrMakeFolder(folderName)
    tell application "Notes"
        if not (exists folder folderName) then
            make new folder with properties {name:folderName}
        end if
        return folder folderName
    end tell
end findOrMakeFolder

tell application "Notes"
    set targetFolder to my findOrMakeFolder("Printed")
    set newNote to make new note at targetFolder with properties ¬
        {name:"Tax \"2025\"", body:"<h1>Tax &quot;2025&quot;</h1>
<p style=\"white-space: pre-wrap;\">1 &lt; 2
end</p>"}
    set pdfFile to POSIX file "/home/u/a\\b.pdf" as alias
    make new attachment at newNote with data pdfFile
    return id of newNote
end tell)");
}

TEST(NotesBridge, EscapesForHTMLFirstAndFillsInWhatIsBlank)
{
    struct Case {
        std::string title, text, folder, expected;
    };
    const Case cases[] = {
        {"t", "x", " \n\u2003", "findOrMakeFolder(\"Notes\")"},
        {"t", "x", " Printed ", "findOrMakeFolder(\" Printed \")"},
        {"t", "", "f", R"(pre-wrap;\">(No text recognized)</p>)"},
        {"t", "  ", "f", R"(pre-wrap;\">  </p>)"},
        {R"(a"b\c)", "x", "f", R"(name:"a\"b\\c", body:"<h1>a&quot;b\\c</h1>)"},
        {"t", "&lt; '", "f", R"(pre-wrap;\">&amp;lt; &#39;</p>)"},
    };
    for (const Case& c : cases) {
        const std::string source = scriptSource(c.title, c.text, c.folder, "/p");
        EXPECT_NE(source.find(c.expected), std::string::npos) << source;
    }
}

TEST(NotesBridge, SaysInWordsWhyThereIsNoNote)
{
    const std::pair<Script, std::string> cases[] = {
        {{}, "AppleScript compile failed: NSAppleScript init returned nil"},
        {[] {
             return failure(ScriptError{"Not allowed.", -1743});
         },
         "AppleScript run failed: Not allowed."},
        {[] { return failure(ScriptError{.number = -1743}); },
         "AppleScript run failed: {Number = -1743}"},
        {[] { return std::nullopt; }, "Notes did not return a result."},
    };
    for (const auto& [script, description] : cases) {
        const auto runner = [&script = script](const std::string& /*source*/) { return script; };
        EXPECT_EQ(addNote("t", "x", "f", "/p", runner).error().description(), description);
    }
    EXPECT_TRUE(addNote("t", "x", "f", "/p", [](const std::string& /*source*/) {
        return Script([] { return std::optional(""s); });
    }));
}

TEST(NotesBridge, BringsAnyTextToTheApplicationAsItIs)
{
    const TemporaryFolder folder;
    const fs::path pdf = folder.write("\"\\.pdf", "%PDF");
    const std::string hostile[] = {
        "\"} \nreturn id of 1\nend tell\n--\\",
        "\u00AC\n\\\" & \"do shell script\" \\",
        "<script>&amp;</h1>\u202Egpj.exe\r\n\x01\x7F"s + '\0',
        std::string(1 << 16, '"'),
    };
    FakeNotes notes;
    const ScriptRunner runner = notesScriptRunner(notes);
    for (const std::string& text : hostile) {
        ASSERT_TRUE(addNote(text, text, text, pdf, runner));
        const std::string html = text::htmlEscape(text);
        const std::string body =
            "<h1>" + html + "</h1>\n<p style=\"white-space: pre-wrap;\">" + html + "</p>";
        EXPECT_TRUE(
            (notes.notes.back() == Note{.folder = text, .title = text, .body = body, .file = pdf}));
    }
    EXPECT_EQ(addNote("\xFF", "x", "f", pdf, runner).error().code,
              NotesError::Code::scriptCompileFailed);
}

TEST(NotesScript, IsTheProgramThatAddsANoteAndNoOther)
{
    const Note note{.folder = "f", .title = "t", .body = "b\"", .file = "/"};
    const std::string program = composeNotesProgram(note);
    EXPECT_EQ(matchNotesProgram(program), note);
    const auto changed = [&](const std::string& part, const std::string& other) {
        return std::string(program).replace(program.find(part), part.size(), other);
    };
    const std::string others[] = {
        "",
        program + "\n",
        " " + program,
        changed("\"Notes\"", "\"Mail\""),
        changed("make new attachment", "delete"),
        changed("\"t\"", "\"t"),
        changed("\"t\"", "\"t\" & \"u\""),
        changed("\"t\"", "\"\\t\""),
        changed("b\\\"\"}", "b\\\"}"),
        changed("\"/\"", "\"/\\"),
    };
    FakeNotes notes;
    for (const std::string& other : others) {
        const auto result = notesScriptRunner(notes)(other)();
        ASSERT_FALSE(result) << other;
        EXPECT_EQ(result.error(),
                  (ScriptError{"This is not the program that adds a note.", -2741}));
    }
    EXPECT_TRUE(notes.notes.empty());
    for (std::size_t size = 0; size < program.size(); ++size) {
        EXPECT_FALSE(matchNotesProgram(program.substr(0, size))) << size;
    }
}

TEST(NotesScript, SaysWhyThereIsNoNote)
{
    FakeNotes notes;
    const ScriptRunner runner = notesScriptRunner(notes);
    EXPECT_EQ(addNote("t", "x", "f", "/none", runner).error().description(),
              "AppleScript run failed: File /none wasn't found.");
    EXPECT_TRUE(notes.notes.empty());
    notes.outcome = failure(NotesFailure{"The disk is full."});
    EXPECT_EQ(addNote("t", "x", "f", "/", runner).error().description(),
              "AppleScript run failed: The disk is full.");
    notes.outcome = "";
    EXPECT_EQ(addNote("t", "x", "f", "/", runner).error().code,
              NotesError::Code::scriptReturnedNothing);
}

} // namespace korvane::NotesBridge
