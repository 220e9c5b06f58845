#include "picture/JPEGDocument.h"

#include <cstdlib>
#include <string>
#include <string_view>

using namespace korvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const Data jpeg = Data::copying(std::span(bytes, size));
    std::string pdf;
    const auto length = writeJPEGDocument(
        jpeg, {}, [&](std::span<const std::uint8_t> piece) -> Result<void, SystemError> {
            pdf.append(piece.begin(), piece.end());
            return {};
        });
    if (!length) return 0;
    const std::string stream = "stream\n" + std::string(jpeg.text()) + "\nendstream";
    const std::size_t at = pdf.find(stream);
    if (pdf.size() != *length || at == std::string::npos) std::abort();
    const std::string_view page = std::string_view(pdf).substr(at + stream.size());
    const bool isRight = page.ends_with("%%EOF\n") && page.find("nan") == page.npos &&
                         page.find("inf") == page.npos && page.find("-0 ") == page.npos &&
                         page.find("[0 0 0 ") == page.npos;
    if (!isRight) std::abort();
    return 0;
}
