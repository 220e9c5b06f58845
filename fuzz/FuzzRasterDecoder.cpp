#include "base/ByteBuffer.h"
#include "raster/PWGDecoder.h"
#include "raster/URFDecoder.h"

#include <cstdlib>
#include <string>

using namespace korvane;

namespace {

/** As the file header of URF has it; 0 is told where the pages go on to the document's end. */
std::uint32_t pageCount(const Data& document)
{
    std::uint32_t count = 0;
    if (PWGDecoder::isPWGRaster(document)) return count;
    for (const std::uint8_t byte : document.slice(8, 4).bytes()) count = count << 8 | byte;
    return count;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    // Small enough that no input takes long, large enough for every path.
    constexpr RasterLimits limits{.pageRaster = 1 << 22, .documentRaster = 1 << 23, .pdf = 1 << 22};
    const Data raster = Data::copying(std::span(bytes, size));
    const auto decode =
        PWGDecoder::isPWGRaster(raster) ? PWGDecoder::decodeToPDF : URFDecoder::decodeToPDF;
    ByteBuffer pdf;
    const auto length = decode(
        raster,
        [&](std::span<const std::uint8_t> piece) -> Result<void, SystemError> {
            pdf.append(piece);
            return {};
        },
        limits);
    if (!length) return 0;
    const Data document = pdf.take();
    const std::string_view text = document.text();
    const std::uint32_t pages = pageCount(raster);
    const std::string count = pages == 0 ? "/Count " : "/Count " + std::to_string(pages) + " ";
    const bool isRight = text.size() == *length && text.starts_with("%PDF-") &&
                         text.ends_with("%%EOF\n") && text.find(count) != std::string_view::npos &&
                         text.find("/Count 0 ") == std::string_view::npos;
    if (!isRight) std::abort();
    return 0;
}
