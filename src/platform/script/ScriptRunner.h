#pragma once

#include "platform/base/Result.h"
#include "platform/script/ScriptError.h"

#include <cstdint>
#include <memory>
#include <string>

namespace korvane {

/** What a script gave: its type as a four-character code, and the text of a text. */
struct ScriptDescriptor {
    enum class Type : std::uint32_t {
        null = 0x6E756C6C,    // 'null': the script gave nothing
        boolean = 0x626F6F6C, // 'bool'
        text = 0x75747874,    // 'utxt'
        alias = 0x616C6973,   // 'alis': a file
        object = 0x6F626A20,  // 'obj ': something of the application's
    };

    Type descriptorType = Type::null;
    std::string text;
};

/** A program that can be run. */
class Script {
public:
    Script() = default;
    Script(const Script&) = delete;
    Script& operator=(const Script&) = delete;
    virtual ~Script() = default;

    /** Reads the program and runs it. Blocks until it has ended, applications included. */
    virtual Result<ScriptDescriptor, ScriptError> execute() = 0;
};

/** Makes scripts of program texts. */
class ScriptRunner {
public:
    ScriptRunner() = default;
    ScriptRunner(const ScriptRunner&) = delete;
    ScriptRunner& operator=(const ScriptRunner&) = delete;
    virtual ~ScriptRunner() = default;

    /** Gives nothing for a source that is not text. Whether the text is a program shows when it
     *  is run. */
    virtual std::unique_ptr<Script> makeScript(std::string source) const = 0;
};

} // namespace korvane
