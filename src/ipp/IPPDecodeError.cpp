#include "ipp/IPPDecodeError.h"

#include <fmt/format.h>

namespace korvane {

namespace {

std::string describe(IPPDecodeError::InvalidTag reason)
{
    return fmt::format("invalidTag({})", reason.tag);
}

std::string describe(const IPPDecodeError::InvalidStructure& reason)
{
    return fmt::format("invalidStructure(\"{}\")", reason.detail);
}

std::string describe(IPPDecodeError::Truncated /*reason*/)
{
    return "truncated";
}

} // namespace

std::string IPPDecodeError::description() const
{
    return std::visit([](const auto& known) { return describe(known); }, reason);
}

} // namespace korvane
