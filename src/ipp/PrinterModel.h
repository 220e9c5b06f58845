#pragma once

#include <array>

/** What all printers of this kind are called. */
namespace korvane::model {

inline constexpr const char* manufacturer = "Korvane";
inline constexpr const char* model = "Virtual Printer";
inline constexpr const char* makeAndModel = "Korvane Virtual Printer";

/** As IEEE 1284 has it, with the languages that it understands. */
inline constexpr const char* deviceID =
    "MFG:Korvane;MDL:Virtual Printer;CMD:PDF,PWGRaster,AppleRaster,URF,JPEG;";

/** A picture of it, as wide as high. */
struct Icon {
    int pixels;
    /** Where its web server has it. */
    const char* path;
};
inline constexpr std::array icons = {Icon{48, "/icon-48.png"}, Icon{128, "/icon-128.png"},
                                     Icon{512, "/icon-512.png"}};

/** The version of the Mopria print certification's rules that clients may count on. */
inline constexpr const char* mopriaVersion = "1.3";

} // namespace korvane::model
