#pragma once

#include "base/FileDescriptor.h"

#include <cstdint>

namespace korvane {

/** A document at the beginning of an open regular file; what the file holds behind it is none of
 *  the document's. */
struct DocumentFile {
    SharedDescriptor file;
    std::uint64_t length = 0;
};

} // namespace korvane
