#pragma once

#include "base/Result.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace korvane {

struct BusEntry;

/** A dictionary from strings to variants, `a{sv}`. */
using BusDictionary = std::vector<BusEntry>;

/**
 * One argument of a D-Bus message, of the types that we have a use for: `s`, `b`, `i`, `u`, `x`,
 * `t`, `q`, `y`, `as`, `a{sv}` and `aa{sv}`, to be sent also `ay`, received also `o`, as a string.
 * A variant arrives as what it holds, an argument of any other type as std::monostate.
 */
using BusValue =
    std::variant<std::monostate, std::string, bool, std::int32_t, std::uint32_t, std::uint8_t,
                 std::vector<std::string>, BusDictionary, std::uint16_t, std::vector<std::uint8_t>,
                 std::int64_t, std::uint64_t, std::vector<BusDictionary>>;

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

/** A method call, as the D-Bus specification names its fields. */
struct BusCall {
    /** A well-known name, whose service is started for the call if need be, or a unique one. */
    std::string destination;
    std::string path;
    std::string interface;
    std::string member;
    std::vector<BusValue> arguments = {};
    /** How long to wait for the reply. One that comes later is dropped, though the call may have
     *  been carried out: the caller goes another way. */
    std::chrono::milliseconds timeout = std::chrono::seconds(2);
};

/** Why a call has no result: the error in the reply, or one of our own with a D-Bus name. */
struct BusError {
    std::string name;
    std::string message;

    /** In words, for example "The name is not activatable". */
    const std::string& description() const { return message.empty() ? name : message; }

    friend bool operator==(const BusError&, const BusError&) = default;
};

using BusReply = Result<std::vector<BusValue>, BusError>;

/** Which signals are meant. An empty field matches any. */
struct BusMatch {
    /** A well-known name here is looked at by the bus alone: a peer that addresses a signal to us
     *  gets past it. Compare BusSignal::sender where that matters. */
    std::string sender = {};
    std::string path = {};
    std::string interface = {};
    std::string member = {};
    /** The first argument, a string. */
    std::string firstArgument = {};
};

/** A signal that has arrived. */
struct BusSignal {
    /** The unique name of the sender, which nobody can forge. */
    std::string sender = {};
    std::string member = {};
    std::vector<BusValue> arguments = {};
};

} // namespace korvane
