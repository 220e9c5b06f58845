#include "platform/script/ScriptError.h"

#include <fmt/format.h>

namespace korvane {

std::string ScriptError::description() const
{
    std::string text = kind == Kind::compile ? "{Kind = compile" : "{Kind = run";
    if (message) text += fmt::format("; Message = \"{}\"", *message);
    if (number != 0) text += fmt::format("; Number = {}", number);
    if (line != 0) text += fmt::format("; Line = {}", line);
    return text + "}";
}

} // namespace korvane
