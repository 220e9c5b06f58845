// The parts of answers on documents, as a compromised worker may write them. What is accepted is
// written again and must be the very same bytes: nothing is misread, nothing made up.

#include "platform/documents/DocumentOperations.h"

#include <cstdlib>

using namespace korvane;

namespace {

template <typename Read, typename Write>
void check(const Data& payload, Read read, Write write)
{
    WireReader reader({.payload = payload});
    const auto value = read(reader);
    if (!reader.finished()) return;
    WireWriter writer;
    write(writer, value);
    if (writer.message().payload != payload) std::abort();
}

template <typename T>
void check(const Data& payload, T (*read)(WireReader&))
{
    check(payload, read, [](WireWriter& out, const T& value) { wire::write(out, value); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    if (size == 0) return 0;
    const Data payload = Data::copying(std::span(bytes + 1, size - 1));
    switch (bytes[0] % 8) {
    case 0: check(payload, wire::readStatus); break;
    case 1: check(payload, wire::readPageInfo); break;
    case 2: check(payload, wire::readBoxes); break;
    case 3: check(payload, wire::readLine); break;
    case 4: check(payload, wire::readOrientation); break;
    case 5: check(payload, wire::readLayers); break;
    case 6: check(payload, wire::readShape, wire::writeShape); break;
    default: {
        // Two entries of one name become one; all else is bounded by what was sent.
        WireReader reader({.payload = payload});
        if (wire::readInformation(reader).size() > size) std::abort();
    }
    }
    return 0;
}
