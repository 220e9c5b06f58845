#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace korvane {

struct BusEntry;

/** A dictionary from strings to variants, `a{sv}`. */
using BusDictionary = std::vector<BusEntry>;

/**
 * One argument of a D-Bus message, of the types that we have a use for: `s`, `b`, `i`, `u`, `y`,
 * `as` and `a{sv}`. An argument of any other type arrives as std::monostate.
 */
using BusValue = std::variant<std::monostate, std::string, bool, std::int32_t, std::uint32_t,
                              std::uint8_t, std::vector<std::string>, BusDictionary>;

struct BusEntry {
    std::string key;
    BusValue value;

    friend bool operator==(const BusEntry&, const BusEntry&) = default;
};

/** The argument at that place if it is there and of that type. */
template <typename T>
const T* busArgument(const std::vector<BusValue>& arguments, std::size_t place)
{
    return place < arguments.size() ? std::get_if<T>(&arguments[place]) : nullptr;
}

} // namespace korvane
