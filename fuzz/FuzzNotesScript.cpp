#include "desktop/NotesBridge.h"
#include "platform/script/NotesScriptRunner.h"
#include "platform/text/Text.h"

#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

namespace {

using namespace korvane;

/** Takes everything, and keeps what it was given last. */
class AcceptingNotes final : public NotesApplication {
public:
    explicit AcceptingNotes(std::string& name) : name_(name) {}

    Result<bool, NotesFailure> folderExists(const std::string& name) override
    {
        return name.size() % 2 == 0;
    }
    Result<void, NotesFailure> makeFolder(const std::string& /*name*/) override { return {}; }
    Result<std::string, NotesFailure> makeNote(const std::string& /*folder*/,
                                               const std::string& name,
                                               const std::string& body) override
    {
        name_ = name;
        return body;
    }
    Result<void, NotesFailure> makeAttachment(const std::string& /*noteID*/,
                                              const std::filesystem::path& /*file*/) override
    {
        return {};
    }
    void deleteNote(const std::string& /*noteID*/) override {}

private:
    std::string& name_;
};

} // namespace

/** The bytes as a program, and as what a job brings into the program that the bridge writes. */
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::string name;
    const NotesScriptRunner runner([&] { return std::make_unique<AcceptingNotes>(name); });
    if (const auto script = runner.makeScript(text)) (void)script->execute();
    const bool isAdded = NotesBridge::addNote(text, text, text, "/", runner).has_value();
    if (isAdded != text::isWellFormedUTF8(text) || (isAdded && name != text)) std::abort();
    return 0;
}
