#include "recognition/DocumentError.h"

namespace korvane {

std::string DocumentError::description() const
{
    switch (kind) {
    case Kind::notReadable: return "the document is damaged or not a PDF";
    case Kind::needsPassword: return "the document needs a password";
    case Kind::noPage: return "the page cannot be rendered";
    case Kind::recognition:
    case Kind::conversion: return detail;
    case Kind::cannotWrite: return system.description();
    case Kind::worker: break;
    }
    return failure.description();
}

} // namespace korvane
