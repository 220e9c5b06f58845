#include "lib/fribidi/VisualOrder.h"

#include <fribidi.h>

#include <numeric>

namespace korvane {

std::vector<std::size_t> visualOrder(std::u32string_view line)
{
    constexpr FriBidiFlags reorderOnly = 0;
    const auto length = static_cast<FriBidiStrIndex>(line.size());
    const std::vector<FriBidiChar> characters(line.begin(), line.end());
    std::vector<FriBidiCharType> types(line.size());
    std::vector<FriBidiBracketType> brackets(line.size());
    std::vector<FriBidiLevel> levels(line.size());
    std::vector<FriBidiStrIndex> order(line.size());
    std::iota(order.begin(), order.end(), 0);
    FriBidiParType direction = FRIBIDI_PAR_ON; // that of the first letter
    fribidi_get_bidi_types(characters.data(), length, types.data());
    fribidi_get_bracket_types(characters.data(), length, types.data(), brackets.data());
    const bool isReordered =
        fribidi_get_par_embedding_levels_ex(types.data(), brackets.data(), length, &direction,
                                            levels.data()) != 0 &&
        fribidi_reorder_line(reorderOnly, types.data(), length, 0, direction, levels.data(),
                             nullptr, order.data()) != 0;
    if (!isReordered) std::iota(order.begin(), order.end(), 0);
    return {order.begin(), order.end()};
}

} // namespace korvane
