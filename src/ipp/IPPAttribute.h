#pragma once

#include "ipp/IPPTag.h"
#include "ipp/IPPValue.h"

#include <cstdint>
#include <string>
#include <vector>

namespace korvane {

/** A name and its values, normally at least one (RFC 8010 sections 3.1.3 to 3.1.5). */
struct IPPAttribute {
    std::string name;
    std::vector<IPPValue> values;

    friend bool operator==(const IPPAttribute&, const IPPAttribute&) = default;
};

namespace ipp {

/** Whether a 32-bit number is a quantity or stands for one of a list of states. */
enum class IntegerSyntax { integer, enumValue };

/** An attribute whose values are `texts`, in order and all with the same tag. */
IPPAttribute makeTextAttribute(std::string name, std::vector<std::string> texts, IPPTag tag);

/** An attribute whose values are `numbers`, in order. */
IPPAttribute makeIntegerAttribute(std::string name, const std::vector<std::int32_t>& numbers,
                                  IntegerSyntax syntax);

} // namespace ipp

} // namespace korvane
