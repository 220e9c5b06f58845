#pragma once

#include "ipp/IPPTag.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace korvane {

struct IPPMember;

/** The syntaxes of values (RFC 8011 section 5.1). */
namespace ipp {

struct Integer {
    std::int32_t value = 0;

    friend bool operator==(const Integer&, const Integer&) = default;
};

struct Boolean {
    bool value = false;

    friend bool operator==(const Boolean&, const Boolean&) = default;
};

struct EnumValue {
    std::int32_t value = 0;

    friend bool operator==(const EnumValue&, const EnumValue&) = default;
};

/** All integers from `lower` to `upper`, both included. */
struct RangeOfInteger {
    std::int32_t lower = 0;
    std::int32_t upper = 0;

    friend bool operator==(const RangeOfInteger&, const RangeOfInteger&) = default;
};

/** Dots across and along the feed direction: per inch, or else per centimeter. */
struct Resolution {
    std::int32_t crossFeed = 0;
    std::int32_t feed = 0;
    bool perInch = true;

    friend bool operator==(const Resolution&, const Resolution&) = default;
};

/** Every syntax that is made of characters; `tag` says which: a keyword, a URI, a name... */
struct Text {
    std::string text;
    IPPTag tag = IPPTag::textWithoutLang;

    friend bool operator==(const Text&, const Text&) = default;
};

/** Named values inside one value, for example the dimensions of a sheet. */
struct Collection {
    std::vector<IPPMember> members;
};
bool operator==(const Collection& left, const Collection& right);

/** A moment, to the second. A received one is a `Text`: nobody asks for it. */
struct DateTime {
    std::chrono::system_clock::time_point time;

    friend bool operator==(const DateTime&, const DateTime&) = default;
};

/** Stands where there is no value to give. In a decoded message it is the same for all out-of-band
 *  tags. */
struct NoValue {
    IPPTag tag = IPPTag::noValue;

    friend bool operator==(const NoValue&, const NoValue&) = default;
};

} // namespace ipp

/** One value of an attribute. */
using IPPValue =
    std::variant<ipp::Integer, ipp::Boolean, ipp::EnumValue, ipp::RangeOfInteger, ipp::Resolution,
                 ipp::Text, ipp::DateTime, ipp::Collection, ipp::NoValue>;

/** One member of a collection (RFC 8010 section 3.1.7). */
struct IPPMember {
    std::string name;
    IPPValue value;

    friend bool operator==(const IPPMember&, const IPPMember&) = default;
};

inline bool ipp::operator==(const Collection& left, const Collection& right)
{
    return left.members == right.members;
}

} // namespace korvane
