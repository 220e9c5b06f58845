#pragma once

#include "platform/base/Result.h"
#include "platform/script/ScriptError.h"
#include "platform/script/ScriptProgram.h"

#include <string_view>

namespace korvane {

/** Reads a program, in time proportional to its length. Programs nested deeper than 64 levels are
 *  refused, so that none can use up the stack. */
Result<ScriptProgram::Program, ScriptError> parseScript(std::string_view source);

} // namespace korvane
