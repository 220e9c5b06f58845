#pragma once

#include "base/Data.h"

/** Color profiles (ICC.1:2004-10, version 4.2) of a few hundred bytes. */
namespace korvane::icc {

/**
 * sRGB (IEC 61966-2-1). The colorants are those that Little CMS gives the sRGB of its own, so that
 * viewers built on it show every one of the 2^24 colors unchanged.
 */
Data sRGBProfile();

/** Gray whose value is proportional to luminance, white being D50. */
Data linearGrayProfile();

/** Gray whose luminance is the value's power of 2.2, white being D50. */
Data gamma22GrayProfile();

} // namespace korvane::icc
