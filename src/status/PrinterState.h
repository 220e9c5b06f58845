#pragma once

#include <cstdint>
#include <string>

namespace korvane {

/** How the agent's printer stands. */
struct PrinterState {
    enum class Phase {
        /** It has no settings with which it could run. */
        notConfigured,
        /** It does not listen yet. */
        starting,
        ready,
        /** Its port cannot be had, which is tried again and again. */
        portUnavailable,
    };

    Phase phase = Phase::starting;
    /** What is wrong, in words; empty where nothing is. */
    std::string problem;
    /** The configured port. */
    std::uint16_t port = 0;
    /** As the user named it. */
    std::string printerName;
    /** The name under which it is advertised; another than the user's where that was taken. Empty
     *  while it is not. */
    std::string networkName;
    /** The name of this machine on the network, without ".local". */
    std::string hostName;

    friend bool operator==(const PrinterState&, const PrinterState&) = default;
};

} // namespace korvane
