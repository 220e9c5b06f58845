#include "worker/RasterWork.h"

#include "base/DescriptorOutput.h"
#include "base/DocumentMapping.h"
#include "raster/PWGDecoder.h"
#include "raster/URFDecoder.h"
#include "recognition/DocumentRequests.h"
#include "worker/MappedSource.h"

#include <variant>

namespace korvane {

namespace {

using Kind = DocumentError::Kind;

DocumentError documentError(const RasterError& error)
{
    if (const auto* notWritten = std::get_if<RasterError::NotWritten>(&error.value))
        return {.kind = Kind::cannotWrite, .system = notWritten->error};
    return {.kind = Kind::conversion, .detail = error.errorDescription()};
}

DocumentAnswer<requests::ConvertRaster::Answer> convert(const requests::ConvertRaster& request)
{
    const auto raster = mapSource(request.raster);
    if (!raster) return failure(raster.error());
    DescriptorOutput file(request.output->get());
    const auto write = [&](std::span<const std::uint8_t> bytes) {
        // What was read must not add up page by page.
        releasePages(*raster);
        return file.write(bytes);
    };
    const auto decode =
        PWGDecoder::isPWGRaster(*raster) ? PWGDecoder::decodeToPDF : URFDecoder::decodeToPDF;
    return decode(*raster, write, {})
        .map([](std::uint64_t length) { return requests::ConvertRaster::Answer{length}; })
        .map_error(documentError);
}

} // namespace

void serveRasters(RequestTable& table)
{
    table.on<requests::ConvertRaster>(convert);
}

} // namespace korvane
