#pragma once

/** What all printers of this kind are called. */
namespace korvane::model {

inline constexpr const char* manufacturer = "Korvane";
inline constexpr const char* model = "Virtual Printer";
inline constexpr const char* makeAndModel = "Korvane Virtual Printer";

/** The version of the Mopria print certification's rules that clients may count on. */
inline constexpr const char* mopriaVersion = "1.3";

} // namespace korvane::model
