#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace korvane {

/** Why bytes are not an IPP message. */
struct IPPDecodeError {
    /** A delimiter that opens no group, or a value tag of no known syntax. */
    struct InvalidTag {
        std::uint8_t tag;

        friend bool operator==(const InvalidTag&, const InvalidTag&) = default;
    };

    /** A value of the wrong size, for example "integer length". */
    struct InvalidStructure {
        std::string detail;

        friend bool operator==(const InvalidStructure&, const InvalidStructure&) = default;
    };

    /** The input ends inside the header, a length, a name or a value. */
    struct Truncated {
        friend bool operator==(const Truncated&, const Truncated&) = default;
    };

    std::variant<InvalidTag, InvalidStructure, Truncated> reason;

    /** As log lines show it: invalidTag(17), invalidStructure("integer length") or truncated. */
    std::string description() const;

    friend bool operator==(const IPPDecodeError&, const IPPDecodeError&) = default;
};

} // namespace korvane
