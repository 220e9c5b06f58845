#include "config/SettingsDecoder.h"
#include "platform/text/Text.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view json(reinterpret_cast<const char*>(data), size);
    const auto settings = korvane::decodeSettings(json);
    if (settings && !korvane::text::isWellFormedUTF8(settings->printerName)) std::abort();
    return 0;
}
