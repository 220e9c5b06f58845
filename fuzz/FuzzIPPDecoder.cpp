// A client's bytes as an IPP message. What decodes must come back the same once it has been
// encoded: the decoder leaves collections flat, so nothing of a message is lost on the way.

#include "ipp/IPPCodec.h"

#include <cstdlib>

using namespace korvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const auto message = ipp::decode(Data::copying(std::span(bytes, size)));
    if (!message) return 0;
    const Data encoded = ipp::encode(*message);
    if (encoded.size() > size + 1) std::abort(); // the end may have been missing
    const auto again = ipp::decode(encoded);
    if (!again || *again != *message) std::abort();
    return 0;
}
