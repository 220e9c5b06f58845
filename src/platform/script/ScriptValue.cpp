#include "platform/script/ScriptValue.h"

namespace korvane {

namespace {

using Type = ScriptDescriptor::Type;

struct Describe {
    ScriptDescriptor operator()(std::monostate /*none*/) const { return {}; }
    ScriptDescriptor operator()(bool /*value*/) const { return {Type::boolean, {}}; }
    ScriptDescriptor operator()(const SharedText& text) const { return {Type::text, *text}; }
    ScriptDescriptor operator()(const FileReference& file) const
    {
        return {file.isAlias ? Type::alias : Type::object, {}};
    }
    template <typename Object>
    ScriptDescriptor operator()(const Object& /*object*/) const
    {
        return {Type::object, {}};
    }
};

} // namespace

ScriptDescriptor describe(const ScriptValue& value)
{
    return std::visit(Describe{}, value);
}

} // namespace korvane
