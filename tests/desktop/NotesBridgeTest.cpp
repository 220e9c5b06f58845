#include "desktop/NotesBridge.h"

#include "platform/script/NotesScriptRunner.h"
#include "support/FakeNotesApplication.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <optional>

namespace korvane::NotesBridge {

namespace {

using namespace std::string_literals;

/** Has one outcome for every script, or makes none. */
class FakeScriptRunner final : public ScriptRunner {
public:
    std::optional<Result<ScriptDescriptor, ScriptError>> outcome;

    std::unique_ptr<Script> makeScript(std::string /*source*/) const override
    {
        struct FakeScript final : Script {
            Result<ScriptDescriptor, ScriptError> outcome;
            Result<ScriptDescriptor, ScriptError> execute() override { return outcome; }
        };
        if (!outcome) return nullptr;
        auto script = std::make_unique<FakeScript>();
        script->outcome = *outcome;
        return script;
    }
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
    const std::pair<std::optional<Result<ScriptDescriptor, ScriptError>>, std::string> cases[] = {
        {std::nullopt, "AppleScript compile failed: NSAppleScript init returned nil"},
        {failure(ScriptError{.message = "Not allowed.", .number = -1743}),
         "AppleScript run failed: Not allowed."},
        {failure(ScriptError{.number = -1743, .line = 10}),
         "AppleScript run failed: {Kind = run; Number = -1743; Line = 10}"},
        {ScriptDescriptor{}, "Notes did not return a result."},
    };
    FakeScriptRunner runner;
    for (const auto& [outcome, description] : cases) {
        runner.outcome = outcome;
        EXPECT_EQ(addNote("t", "x", "f", "/p", runner).error().description(), description);
    }
    runner.outcome = ScriptDescriptor{ScriptDescriptor::Type::text, ""};
    EXPECT_TRUE(addNote("t", "x", "f", "/p", runner));
}

TEST(NotesBridge, BringsAnyTextToTheApplicationAsItIs)
{
    const TemporaryFolder folder;
    const std::string hostile[] = {
        "\"} \nreturn id of 1\nend tell\n--\\",
        "\u00AC\n\\\" & \"do shell script\" \\",
        "<script>&amp;</h1>\u202Egpj.exe\r\n\x01\x7F"s + '\0',
        std::string(1 << 20, '"'),
    };
    for (const std::string& text : hostile) {
        FakeNotesApplication::Record record;
        const NotesScriptRunner runner(
            [&] { return std::make_unique<FakeNotesApplication>(record); });
        const std::string name = text.substr(0, 200).substr(0, text.find('\0'));
        const auto pdf =
            folder.write(NotesBridge::htmlEscape(name).substr(0, 5) + "\"\\.pdf", "%PDF");
        ASSERT_TRUE(addNote(text, text, text, pdf, runner));
        const FakeNotesApplication::Note& note = record.notes.at(0);
        EXPECT_TRUE(note.folder == text && note.name == text);
        EXPECT_TRUE(note.body == "<h1>" + htmlEscape(text) +
                                     "</h1>\n<p style=\"white-space: pre-wrap;\">" +
                                     htmlEscape(text) + "</p>");
        EXPECT_EQ(note.attachments, std::vector{pdf});
        EXPECT_EQ(record.folders, std::vector{text});
    }
    EXPECT_EQ(
        addNote("\xFF", "x", "f", "/p", NotesScriptRunner(nullptr)),
        failure(NotesError{NotesError::ScriptCompileFailed{"NSAppleScript init returned nil"}}));
}

} // namespace korvane::NotesBridge
