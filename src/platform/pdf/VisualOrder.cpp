#include "platform/pdf/VisualOrder.h"

#include "platform/text/CodePoints.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <vector>

namespace korvane {

namespace {

using text::Direction;

/** How deep a character is embedded: an odd level is written from right to left. */
using Level = int;
using Levels = std::vector<std::optional<Level>>;

bool isRightToLeft(Direction direction)
{
    return direction == Direction::rightToLeft;
}

/** The level of the line: that of its first letter. */
Level baseLevel(std::u32string_view line)
{
    for (const char32_t character : line) {
        const Direction direction = text::directionOf(character);
        if (direction == Direction::leftToRight) return 0;
        if (isRightToLeft(direction)) return 1;
    }
    return 0;
}

/** A single sign between two digits, as in 3.14 and 12:30. */
bool joinsDigits(std::u32string_view line, std::size_t index)
{
    constexpr std::u32string_view signs = U".,:/-";
    return index > 0 && index + 1 < line.size() && signs.find(line[index]) != signs.npos &&
           text::directionOf(line[index - 1]) == Direction::number &&
           text::directionOf(line[index + 1]) == Direction::number;
}

/** The levels of letters, numbers and marks; those of spaces and signs depend on both sides. */
Levels levelsOfLetters(std::u32string_view line, Level base)
{
    Levels levels(line.size());
    const Level leftToRight = base == 0 ? 0 : 2;
    bool afterRightToLeft = base == 1;
    for (std::size_t index = 0; index < line.size(); ++index) {
        switch (text::directionOf(line[index])) {
        case Direction::leftToRight:
            levels[index] = leftToRight;
            afterRightToLeft = false;
            break;
        case Direction::rightToLeft:
            levels[index] = 1;
            afterRightToLeft = true;
            break;
        case Direction::number: levels[index] = afterRightToLeft ? 2 : leftToRight; break;
        case Direction::mark:
            if (index > 0) levels[index] = levels[index - 1];
            break;
        case Direction::neutral:
            if (joinsDigits(line, index)) levels[index] = levels[index - 1];
            break;
        }
    }
    return levels;
}

/** Spaces and signs between letters of one direction go with them, others with the line. */
std::vector<Level> resolved(const Levels& levels, Level base, std::u32string_view line)
{
    // A number counts as right to left here wherever it is one level up from such text (rule N1).
    const auto side = [&](std::size_t index) {
        const bool isNumber = text::directionOf(line[index]) == Direction::number;
        return isNumber && *levels[index] == 2 ? 1 : *levels[index];
    };
    std::vector<Level> result(levels.size(), base);
    std::size_t index = 0;
    while (index < levels.size()) {
        if (levels[index]) {
            result[index] = *levels[index];
            ++index;
            continue;
        }
        std::size_t end = index;
        while (end < levels.size() && !levels[end]) ++end;
        const Level before = index > 0 ? side(index - 1) : base;
        const Level after = end < levels.size() ? side(end) : base;
        const auto from = result.begin() + static_cast<std::ptrdiff_t>(index);
        std::fill(from, from + static_cast<std::ptrdiff_t>(end - index),
                  before == after ? before : base);
        index = end;
    }
    return result;
}

/** Turns round every run of characters at `level` or deeper (rule L2). */
void turnRuns(std::u32string& line, std::vector<Level>& levels, Level level)
{
    for (std::size_t index = 0; index < line.size(); ++index) {
        std::size_t end = index;
        while (end < line.size() && levels[end] >= level) ++end;
        const auto from = static_cast<std::ptrdiff_t>(index), to = static_cast<std::ptrdiff_t>(end);
        std::reverse(line.begin() + from, line.begin() + to);
        std::reverse(levels.begin() + from, levels.begin() + to);
        index = std::max(index, end);
    }
}

} // namespace

std::u32string visualOrder(std::u32string_view line)
{
    std::u32string visual(line);
    const bool turns = std::any_of(line.begin(), line.end(), [](char32_t character) {
        return isRightToLeft(text::directionOf(character));
    });
    if (!turns) return visual;
    const Level base = baseLevel(line);
    std::vector<Level> levels = resolved(levelsOfLetters(line, base), base, line);
    for (const Level level : {2, 1}) turnRuns(visual, levels, level);
    return visual;
}

} // namespace korvane
