#pragma once

#include "base/Data.h"
#include "base/DocumentFile.h"
#include "base/Result.h"
#include "base/SystemError.h"

namespace korvane {

/** The document's bytes, mapped for reading and not copied. EINVAL unless it lies in a regular file
 *  that is at least so long. A process that reads behind the end of a file that was shortened since
 *  is killed by SIGBUS. */
Result<Data, SystemError> mapDocument(const DocumentFile& document);

/** Takes the pages of what mapDocument gave out of this process's memory, to which they return when
 *  they are read again. For nothing else: the content of other memory would be lost. */
void releasePages(const Data& mapped);

} // namespace korvane
