#pragma once

#include <tl/expected.hpp>

#include <utility>

namespace korvane {

/** A value, or the error that stood in its way. Failures travel as values; nothing is thrown. */
template <typename T, typename E>
using Result = tl::expected<T, E>;

/** Makes the failed Result: `return failure(Error{...});`. */
template <typename E>
auto failure(E&& error)
{
    return tl::unexpected<std::decay_t<E>>(std::forward<E>(error));
}

} // namespace korvane
