#pragma once

#include "platform/script/ScriptRunner.h"

#include <filesystem>
#include <memory>
#include <string>
#include <variant>

namespace korvane {

struct FolderReference {
    std::string name;
};

struct NoteReference {
    std::string id;
};

/** What has been attached cannot be asked for anything. */
struct AttachmentReference {};

struct FileReference {
    std::filesystem::path path;
    /** Whether the file was seen to exist. */
    bool isAlias = false;
};

/** A shared text, so that handing megabytes on costs nothing. */
using SharedText = std::shared_ptr<const std::string>;

/** What an expression of the script language stands for; monostate is no value. */
using ScriptValue = std::variant<std::monostate, bool, SharedText, FolderReference, NoteReference,
                                 AttachmentReference, FileReference>;

/** The value as the script's user sees it. */
ScriptDescriptor describe(const ScriptValue& value);

} // namespace korvane
