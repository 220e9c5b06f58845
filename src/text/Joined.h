#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace korvane::text {

/** The texts that the projection gives for the elements, with the separator between them. */
template <typename Range, typename Projection = std::identity>
std::string joined(const Range& range, std::string_view separator, Projection projection = {})
{
    std::string whole;
    bool isFirst = true;
    for (const auto& element : range) {
        if (!std::exchange(isFirst, false)) whole += separator;
        whole += std::invoke(projection, element);
    }
    return whole;
}

} // namespace korvane::text
