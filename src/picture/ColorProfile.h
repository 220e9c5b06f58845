#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace korvane {

/** Gathers the pieces in which a JPEG file holds an ICC profile (ICC.1:2004-10, annex B.4). */
class ProfileChunks {
public:
    /** A segment without its identifier: its number from 1 on, how many there are, and the piece.
     *  The bytes are not copied. */
    void add(std::span<const std::uint8_t> segment);

    /** The profile when it is whole and one for so many components of a picture, which may stand in
     *  a PDF document (ISO 32000-1, 8.6.5.5); else nothing. */
    std::vector<std::uint8_t> take(std::size_t components) const;

private:
    std::array<std::span<const std::uint8_t>, 256> pieces_{};
    std::size_t count_ = 0;
};

} // namespace korvane
