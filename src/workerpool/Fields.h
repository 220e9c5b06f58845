#pragma once

#include <concepts>
#include <type_traits>

/**
 * How a type goes over the wire: a function that names its fields once, for a FieldReader and a
 * FieldWriter both, together with what values they may have.
 *
 *     void fields(auto& coder, FieldsOf<PixelSize> auto& size)
 *     {
 *         coder.number(size.width, 1, 10'000);
 *         coder.number(size.height, 1, 10'000);
 *     }
 *
 * It stands in the namespace of the type. Only a reader checks values: whoever writes them is asked
 * to keep to them.
 */
namespace korvane {

/** `T`, or `T` that may only be read: `fields` serves both directions. */
template <typename Argument, typename T>
concept FieldsOf = std::same_as<std::remove_const_t<Argument>, T>;

} // namespace korvane
