#include "base/ByteBuffer.h"
#include "raster/URFDecoder.h"

#include <cstdlib>

using namespace korvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    // Small enough that no input takes long, large enough for every path.
    constexpr URFDecoder::Limits limits{
        .pageRaster = 1 << 22, .documentRaster = 1 << 23, .pdf = 1 << 22};
    ByteBuffer pdf;
    const auto length = URFDecoder::decodeToPDF(
        Data::copying(std::span(bytes, size)),
        [&](std::span<const std::uint8_t> piece) -> Result<void, SystemError> {
            pdf.append(piece);
            return {};
        },
        limits);
    if (!length) return 0;
    std::uint32_t pageCount = 0;
    for (const std::uint8_t byte : std::span(bytes, size).subspan(8, 4))
        pageCount = pageCount << 8 | byte;
    const Data document = pdf.take();
    const std::string_view text = document.text();
    const bool isRight =
        text.size() == *length && text.starts_with("%PDF-") && text.ends_with("%%EOF\n") &&
        text.find("/Count " + std::to_string(pageCount) + " ") != std::string_view::npos;
    if (!isRight) std::abort();
    return 0;
}
