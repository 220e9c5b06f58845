#pragma once

#include "base/Result.h"
#include "picture/JPEGPicture.h"

#include <cstdint>
#include <span>
#include <string>

namespace korvane {

/**
 * Reads the headers of a JPEG file (ITU-T T.81; JFIF 1.02; Exif 2.32; ICC.1:2004-10, annex B.4), up
 * to the first scan. What follows is not looked into: of a picture that is cut short, viewers show
 * what is there. Fails, with what is wrong with the file, where no viewer would show anything.
 */
Result<JPEGPicture, std::string> readJPEG(std::span<const std::uint8_t> file);

} // namespace korvane
