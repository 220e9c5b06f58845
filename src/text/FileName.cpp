#include "text/FileName.h"

#include "text/Text.h"

#include <algorithm>

namespace korvane::text {

std::string withoutRefusedCharacters(std::string_view text)
{
    static constexpr std::string_view refused = R"(/:\?%*|"<>)";
    std::string name(text);
    std::ranges::replace_if(
        name, [](char c) { return refused.find(c) != std::string_view::npos; }, '_');
    return name;
}

std::string fittingFileName(std::string_view name, std::string_view ending, std::size_t limit)
{
    const std::size_t left = limit - std::min(ending.size(), limit);
    return std::string(prefixFitting(name, left)).append(ending);
}

} // namespace korvane::text
