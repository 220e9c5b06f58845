#include "lib/qpdf/SearchablePDFWriter.h"

#include <cstdlib>
#include <string>

using namespace korvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const std::vector<PageTextLayer> layers = {
        {.lines = {{.x = 50,
                    .y = 60,
                    .angle = 3,
                    .words = {{"abc", 0, 20}, {"Ω", 24, 9}, {"שלום", 36, 25}, {"😀", 63, 12}}}}}};
    const auto rewrite = [&](std::span<const std::uint8_t> source, std::string& output) {
        return writeSearchablePDF(Data::copying(source), layers, {{"Title", "fuzzed"}},
                                  [&output](std::span<const std::uint8_t> part) {
                                      output.append(part.begin(), part.end());
                                      return Result<void, SystemError>();
                                  });
    };
    std::string output, again;
    if (!rewrite(std::span(bytes, size), output)) return 0;
    // What we wrote is a PDF that we can read.
    const bool isWhole = output.starts_with("%PDF-") && output.ends_with("%%EOF\n");
    const auto* written = reinterpret_cast<const std::uint8_t*>(output.data());
    if (!isWhole || !rewrite(std::span(written, output.size()), again)) std::abort();
    return 0;
}
