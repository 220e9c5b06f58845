#pragma once

#include "base/Data.h"
#include "base/DocumentFile.h"
#include "base/Result.h"
#include "recognition/DocumentError.h"

namespace korvane {

/** The document that a request is about. Throws std::bad_alloc when there is no memory for it: a
 * new worker may have some. */
Result<Data, DocumentError> mapSource(const DocumentFile& document);

} // namespace korvane
