#include "document/URFDecoder.h"

#include <cstdlib>
#include <string>

namespace {

/** Small enough that no input takes long, large enough for every path. */
constexpr korvane::URFDecoder::Limits limits{
    .pageRaster = 1 << 22, .documentRaster = 1 << 23, .pdf = 1 << 22};

void require(bool holds)
{
    if (!holds) std::abort();
}

/** The page count of the file header. */
std::string pageCount(std::span<const std::uint8_t> document)
{
    std::uint32_t count = 0;
    for (const std::uint8_t byte : document.subspan(8, 4)) count = count << 8 | byte;
    return std::to_string(count);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const korvane::Data document = korvane::Data::copying(std::span(bytes, size));
    const auto pdf = korvane::URFDecoder::decodeToPDF(document, limits);
    if (!pdf) {
        require(!pdf.error().errorDescription().empty());
        return 0;
    }
    const std::string_view text = pdf->text();
    require(text.starts_with("%PDF-") && text.ends_with("%%EOF\n"));
    require(text.find("/Count " + pageCount(document.bytes()) + " ") != std::string_view::npos);
    return 0;
}
