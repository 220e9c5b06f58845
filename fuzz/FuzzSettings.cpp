#include "config/AppSettings.h"
#include "text/Text.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto settings = korvane::decodeSettings({reinterpret_cast<const char*>(data), size});
    if (settings && !korvane::text::isWellFormedUTF8(settings->printerName)) std::abort();
    return 0;
}
