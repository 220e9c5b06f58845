#pragma once

#include "base/Data.h"
#include "base/DocumentFile.h"
#include "base/FileDescriptor.h"
#include "base/Result.h"
#include "base/SystemError.h"

namespace korvane {

/** A new file without a name, gone when it is closed. */
Result<FileDescriptor, SystemError> makeTemporaryFile();

/** The bytes in such a file. */
Result<DocumentFile, SystemError> writeTemporaryDocument(const Data& bytes);

} // namespace korvane
