#include "platform/script/NotesScriptRunner.h"

#include "platform/script/ScriptEvaluator.h"
#include "platform/script/ScriptParser.h"
#include "platform/text/Text.h"

#include <utility>

namespace korvane {

namespace {

class NotesScript final : public Script {
public:
    NotesScript(std::string source, OpenNotesApplication open)
        : source_(std::move(source)), open_(std::move(open))
    {
    }

    Result<ScriptDescriptor, ScriptError> execute() override
    {
        const auto program = parseScript(source_);
        if (!program) return failure(program.error());
        return ScriptEvaluator(*program, open_).run().map(describe);
    }

private:
    std::string source_;
    OpenNotesApplication open_;
};

} // namespace

NotesScriptRunner::NotesScriptRunner(OpenNotesApplication open) : open_(std::move(open)) {}

std::unique_ptr<Script> NotesScriptRunner::makeScript(std::string source) const
{
    if (!text::isWellFormedUTF8(source)) return nullptr;
    return std::make_unique<NotesScript>(std::move(source), open_);
}

} // namespace korvane
