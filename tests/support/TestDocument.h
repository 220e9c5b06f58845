#pragma once

#include "base/DescriptorOutput.h"
#include "base/DocumentFile.h"
#include "base/DocumentMapping.h"
#include "base/FileDescriptor.h"

#include <sys/mman.h>

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace korvane {

/** An empty file without a name. */
inline SharedDescriptor unnamedFile()
{
    return share(FileDescriptor(::memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING)));
}

/** A document in such a file. */
inline DocumentFile documentFile(std::string_view content)
{
    DocumentFile document{.file = unnamedFile(), .length = content.size()};
    const std::span bytes(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
    if (!DescriptorOutput(document.file->get()).write(bytes)) throw std::runtime_error("no memory");
    return document;
}

inline std::string contentOf(const DocumentFile& document)
{
    return std::string(mapDocument(document).value().text());
}

} // namespace korvane
