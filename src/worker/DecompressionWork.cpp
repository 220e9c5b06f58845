#include "worker/DecompressionWork.h"

#include "base/DescriptorOutput.h"
#include "base/DocumentMapping.h"
#include "lib/zlib/Decompression.h"
#include "recognition/DocumentRequests.h"
#include "worker/MappedSource.h"

#include <cerrno>
#include <variant>

namespace korvane {

namespace {

/** As of a document that comes uncompressed. */
constexpr std::uint64_t maxLength = std::uint64_t{4} << 30;

struct DescribeError {
    using Error = DecompressionError;
    using Kind = DocumentError::Kind;

    DocumentError operator()(const Error::Damaged& /*error*/) const
    {
        return {.kind = Kind::conversion, .detail = "the compressed data is damaged"};
    }
    DocumentError operator()(const Error::TooLarge& /*error*/) const
    {
        return {.kind = Kind::conversion, .detail = "the document is larger than 4 GiB"};
    }
    DocumentError operator()(const Error::NotWritten& error) const
    {
        return {.kind = Kind::cannotWrite, .system = error.error};
    }
};

DocumentAnswer<requests::Decompress::Answer> expand(const requests::Decompress& request)
{
    const auto compressed = mapSource(request.compressed);
    if (!compressed) return failure(compressed.error());
    DescriptorOutput file(request.output->get());
    std::uint64_t room = request.room;
    return decompress(compressed->bytes(), maxLength,
                      [&](std::span<const std::uint8_t> bytes) -> Result<void, SystemError> {
                          if (bytes.size() > room) return failure(SystemError{ENOSPC});
                          room -= bytes.size();
                          // What was read must not add up.
                          releasePages(*compressed);
                          return file.write(bytes);
                      })
        .map([](std::uint64_t length) { return requests::Decompress::Answer{length}; })
        .map_error([](const DecompressionError& error) {
            return std::visit(DescribeError(), error.value);
        });
}

} // namespace

void serveDecompression(RequestTable& table)
{
    table.on<requests::Decompress>(expand);
}

} // namespace korvane
