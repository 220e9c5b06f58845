#pragma once

#include "base/Data.h"
#include "base/DocumentFile.h"
#include "base/Result.h"
#include "base/SystemError.h"

/** What the first bytes of a file tell. Waits for the disk. */
namespace korvane {

/** At most 8, which every format is known by. */
Result<Data, SystemError> firstBytes(const DocumentFile& document);

/** Whether a file that a worker wrote begins like a PDF: a document may have broken the worker. */
bool beginsLikePDF(const DocumentFile& document);

} // namespace korvane
