#pragma once

#include <cstdint>

namespace korvane::jpeg {

/** The second byte of a marker (ITU-T T.81, table B.1). */
enum Marker : std::uint8_t {
    TEM = 0x01,
    SOF0 = 0xC0, ///< baseline
    SOF2 = 0xC2, ///< progressive; SOF1 is extended sequential
    DHT = 0xC4,
    JPG = 0xC8,
    DAC = 0xCC,
    SOF15 = 0xCF,
    RST0 = 0xD0,
    SOI = 0xD8,
    EOI = 0xD9,
    SOS = 0xDA,
    DQT = 0xDB,
    DRI = 0xDD,
    APP0 = 0xE0,
    APP1 = 0xE1,
    APP2 = 0xE2,
    APP14 = 0xEE,
    APP15 = 0xEF,
    COM = 0xFE,
};

/** Markers that stand alone. */
constexpr bool isBare(std::uint8_t marker)
{
    return marker == TEM || (marker >= RST0 && marker <= EOI);
}

/** Decoders go on behind no others. */
constexpr bool isKnown(std::uint8_t marker)
{
    return isBare(marker) || (marker >= SOF0 && marker <= DRI) ||
           (marker >= APP0 && marker <= APP15) || marker == COM;
}

} // namespace korvane::jpeg
