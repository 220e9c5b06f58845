#include "document/TemporaryDocument.h"

#include "base/DescriptorOutput.h"

#include <fcntl.h>

#include <filesystem>
#include <system_error>
#include <utility>

namespace korvane {

Result<FileDescriptor, SystemError> makeTemporaryFile()
{
    std::error_code error;
    const auto folder = std::filesystem::temp_directory_path(error);
    FileDescriptor file(::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (!file) return failure(SystemError::last());
    return file;
}

Result<DocumentFile, SystemError> writeTemporaryDocument(const Data& bytes)
{
    auto file = makeTemporaryFile();
    if (!file) return failure(file.error());
    if (const auto written = DescriptorOutput(file->get()).write(bytes.bytes()); !written)
        return failure(written.error());
    return DocumentFile{.file = share(*std::move(file)), .length = bytes.size()};
}

} // namespace korvane
