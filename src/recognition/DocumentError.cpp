#include "recognition/DocumentError.h"

namespace korvane {

std::string DocumentError::description() const
{
    switch (kind) {
    case Kind::notReadable: return "the document is damaged or not a PDF";
    case Kind::needsPassword: return "the document needs a password";
    case Kind::noPage: return "the page cannot be rendered";
    case Kind::recognition: return detail;
    case Kind::worker: break;
    }
    return failure.description();
}

} // namespace korvane
