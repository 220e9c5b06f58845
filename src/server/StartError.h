#pragma once

#include <cstdint>
#include <string>

namespace korvane {

/** Why a server cannot be started, whatever the state of the machine. */
struct StartError {
    enum class Case { invalidPort };

    Case kind = Case::invalidPort;
    std::uint16_t port = 0;

    /** For example "0 isn't a usable TCP port." */
    std::string description() const { return std::to_string(port) + " isn't a usable TCP port."; }

    static StartError invalidPort(std::uint16_t port) { return {Case::invalidPort, port}; }

    friend bool operator==(const StartError&, const StartError&) = default;
};

} // namespace korvane
