#pragma once

#include <cstdint>
#include <optional>

namespace korvane {

/** A port that the printer cannot have, and what may be done about it. */
struct PortConflict {
    enum class Holder {
        /** It cannot be told whose it is, or nobody has it any more. */
        unknown,
        /** A program of the user. */
        user,
        /** A program of another user or of the system. */
        anotherUser,
        /** A printer of this kind of another user. */
        anotherUsersPrinter,
    };

    std::uint16_t port = 0;
    Holder holder = Holder::unknown;
    /** The next one that is free; absent where there is none. */
    std::optional<std::uint16_t> freePort = {};
};

/** Finds out who listens on the port of this computer. Where that is another user's program, it is
 *  asked whether it is a printer, which may take seconds. */
PortConflict examinePort(std::uint16_t port);

} // namespace korvane
