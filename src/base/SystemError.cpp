#include "base/SystemError.h"

#include <cerrno>
#include <system_error>

namespace korvane {

std::string SystemError::description() const
{
    return std::generic_category().message(code);
}

SystemError SystemError::last()
{
    return {errno};
}

} // namespace korvane
