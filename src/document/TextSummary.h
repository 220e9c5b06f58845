#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace korvane {

/** A text on one line, at most `limit` characters and an ellipsis; "No text recognized." for none.
 */
std::string makeSummary(std::string_view text, std::size_t limit);

} // namespace korvane
