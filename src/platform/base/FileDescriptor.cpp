#include "platform/base/FileDescriptor.h"

#include <unistd.h>

namespace korvane {

FileDescriptor::~FileDescriptor()
{
    if (descriptor_ >= 0) ::close(descriptor_);
}

} // namespace korvane
