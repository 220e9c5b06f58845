#pragma once

#include "base/Data.h"
#include "base/FileDescriptor.h"
#include "base/Result.h"
#include "base/SystemError.h"

#include <cstdint>

namespace korvane {

/** A run of bytes in a sealed memory file, ready to be handed to another process. */
struct SealedBytes {
    SharedDescriptor file;
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
};

/** The bytes where they are, if they lie in shared memory; otherwise a sealed copy of them. */
Result<SealedBytes, SystemError> sealBytes(const Data& data);

/** What another process has sealed, mapped for reading and not copied. EINVAL when it is not memory
 *  whose size is sealed (reading it could fail at any time), or the run lies outside of it. */
Result<Data, SystemError> mapSealedBytes(const SealedBytes& bytes);

/** Takes the pages of what mapSealedBytes gave out of this process's memory, to which they return
 *  when they are read again. For nothing else: the content of other memory would be lost. */
void releasePages(const Data& mapped);

} // namespace korvane
