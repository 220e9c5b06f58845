#include "worker/MappedSource.h"

#include "base/DocumentMapping.h"

#include <cerrno>
#include <new>
#include <utility>

namespace korvane {

Result<Data, DocumentError> mapSource(const DocumentFile& document)
{
    auto mapped = mapDocument(document);
    if (mapped) return *std::move(mapped);
    if (mapped.error().code == ENOMEM) throw std::bad_alloc();
    return failure(DocumentError{.kind = DocumentError::Kind::notReadable});
}

} // namespace korvane
