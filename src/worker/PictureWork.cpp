#include "worker/PictureWork.h"

#include "base/DescriptorOutput.h"
#include "base/DocumentMapping.h"
#include "picture/JPEGDocument.h"
#include "recognition/DocumentRequests.h"
#include "worker/MappedSource.h"

#include <variant>

namespace korvane {

namespace {

using Kind = DocumentError::Kind;

DocumentError documentError(const PictureError& error)
{
    if (const auto* notWritten = std::get_if<PictureError::NotWritten>(&error.value))
        return {.kind = Kind::cannotWrite, .system = notWritten->error};
    return {.kind = Kind::conversion,
            .detail = std::get<PictureError::Refused>(error.value).reason};
}

DocumentAnswer<requests::ConvertPicture::Answer> convert(const requests::ConvertPicture& request)
{
    const auto picture = mapSource(request.picture);
    if (!picture) return failure(picture.error());
    DescriptorOutput file(request.output->get());
    return writeJPEGDocument(*picture, request.paper,
                             [&](std::span<const std::uint8_t> bytes) {
                                 // What was copied must not add up.
                                 releasePages(*picture);
                                 return file.write(bytes);
                             })
        .map([](std::uint64_t length) { return requests::ConvertPicture::Answer{length}; })
        .map_error(documentError);
}

} // namespace

void servePictures(RequestTable& table)
{
    table.on<requests::ConvertPicture>(convert);
}

} // namespace korvane
