#include "platform/script/NotesScriptRunner.h"
#include "support/FakeNotesApplication.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace korvane {

namespace {

using Record = FakeNotesApplication::Record;

Result<ScriptDescriptor, ScriptError> run(const std::string& source, Record& record)
{
    const NotesScriptRunner runner([&] { return std::make_unique<FakeNotesApplication>(record); });
    return runner.makeScript(source)->execute();
}

/** The statements, told to the application. */
std::string telling(const std::string& statements)
{
    return "tell application \"Notes\"\n" + statements + "\nend tell";
}

std::string repeated(const std::string& text, int count)
{
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
}

const std::string makeNote =
    "set n to make new note at folder \"f\" with properties {name:\"a\", body:\"b\"}\n";

} // namespace

TEST(NotesScript, IsNotBegunWhenItsTextIsNoProgram)
{
    const std::tuple<std::string, std::size_t, std::string> cases[] = {
        {"set x to \"a\nb", 1, "the text that begins here has no end."},
        {"set x to \"a\nb\\c\"", 2, "nothing in the language begins with \"\\c\"\"."},
        {"return \"\\", 1, "nothing in the language begins with \"\\\"."},
        {"set x\nto 1", 1, "expected \"to\", but found the end of the line."},
        {"set end to \"x\"", 1, "expected a name, but found \"end\"."},
        {"\n\u00AC\n  set x to 5", 3, "nothing in the language begins with \"5\"."},
        {"return \u00AC x", 1, "nothing in the language begins with \"x\"."},
        {"tell application \"Notes\"\n", 2, "expected \"end\", but found the end of the program."},
        {"on f()\nend g", 2, "expected \"f\", but found \"g\"."},
        {"return \"a\" \"b\"", 1, "expected the end of the line, but found \"\"b\"\"."},
        {"make new window", 1, "expected \"attachment\", but found \"window\"."},
        {"return " + repeated("(", 200000), 1, "the program is nested too deeply."},
        {"return " + repeated("not ", 200000), 1, "the program is nested too deeply."},
        {repeated("if x then\n", 200000), 64, "the program is nested too deeply."},
    };
    for (const auto& [source, line, message] : cases) {
        Record record;
        const auto result = run(telling(makeNote) + "\n" + source, record);
        ASSERT_FALSE(result) << source.substr(0, 100);
        EXPECT_EQ(result.error().kind, ScriptError::Kind::compile);
        EXPECT_EQ(result.error().message,
                  "Line " + std::to_string(result.error().line) + ": " + message);
        EXPECT_EQ(result.error().line, line + 4) << message;
        EXPECT_TRUE(record.notes.empty());
    }
}

TEST(NotesScript, SaysWhatFailedWhileItRanAndTakesItsNotesBack)
{
    const std::tuple<std::string, int, std::string> cases[] = {
        {"return x", -2753, "The variable x is not defined."},
        {"my f()", -1708, "The script does not understand the f message with 0 parameters."},
        {"POSIX file \"/none\" as alias", -43, "File /none wasn't found."},
        {"\"/none\" as alias", -1700, "The value is not a file."},
        {"id of folder \"f\"", -1700, "The value is not a note."},
        {"if \"x\" then\nend if", -1700, "The value is not a condition."},
        {"make new note at folder \"f\" with properties {name:\"a\"}", -1708,
         "The property body is missing."},
        {"make new note", -1708, "What is to be made is missing a folder."},
        {"make new attachment at n with data POSIX file \"/\"", -10000, "The disk is full."},
        {"tell application \"Mail\"\nend tell", -1728, "Can't get application \"Mail\"."},
        {"my outside()", -1708, "No application is told to do this."},
        {"my endless()", -2706, "Stack overflow."},
        {repeated("my wide()\n", 2000), -2706, "The script takes too many steps."},
    };
    const std::string handlers = "on outside()\nexists folder \"f\"\nend outside\n"
                                 "on endless()\nmy endless()\nend endless\n"
                                 "on wide()\n\"a\"\n\"a\"\n\"a\"\n\"a\"\n\"a\"\nend wide\n";
    for (const auto& [source, number, message] : cases) {
        Record record{.attachmentFailure = NotesFailure{"The disk is full."}};
        const auto result = run(handlers + telling(makeNote + source), record);
        ASSERT_FALSE(result) << source.substr(0, 100);
        EXPECT_EQ(result.error().kind, ScriptError::Kind::run);
        EXPECT_EQ(result.error().message, message);
        EXPECT_EQ(result.error().number, number);
        EXPECT_EQ(record.deleted, std::vector<std::string>{"note"});
    }
}

TEST(NotesScript, GivesWhatItReturnsOrItsLastValue)
{
    using Type = ScriptDescriptor::Type;
    const std::tuple<std::string, Type, std::string> cases[] = {
        {"", Type::null, ""},
        {"return", Type::null, ""},
        {"set x to \"tab\\tline\\n\"", Type::text, "tab\tline\n"},
        {"if not (not exists folder \"f\") then\nreturn \"in\"\nend if\nreturn \"out\"", Type::text,
         "out"},
        {"my echo(\"a\", \"b\")", Type::text, "b"},
        {"return folder \"f\"", Type::object, ""},
        {"POSIX file \"/\" as alias", Type::alias, ""},
        {makeNote + "return id of n", Type::text, "note"},
    };
    for (const auto& [source, type, text] : cases) {
        Record record;
        const auto result =
            run("on echo(x, y)\nset x to y\nreturn x\nend echo\n" + telling(source), record);
        ASSERT_TRUE(result) << *result.error().message;
        EXPECT_EQ(result->descriptorType, type) << source;
        EXPECT_EQ(result->text, text);
        EXPECT_TRUE(record.deleted.empty());
    }
    Record nameless{.noteID = ""};
    EXPECT_EQ(run(telling(makeNote + "return id of n"), nameless)->descriptorType, Type::null);
}

} // namespace korvane
