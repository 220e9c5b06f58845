#pragma once

#include <cstdint>
#include <optional>

namespace korvane {

/** A port that can be listened on. Port 0, which asks the system for any port, is refused: a
 * printer has to be found again where it was. */
class TCPPort {
public:
    static std::optional<TCPPort> make(std::uint16_t number)
    {
        if (number == 0) return {};
        return TCPPort(number);
    }

    std::uint16_t number() const { return number_; }

private:
    explicit TCPPort(std::uint16_t number) : number_(number) {}

    std::uint16_t number_;
};

} // namespace korvane
