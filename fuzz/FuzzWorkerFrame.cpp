// What a compromised worker may send: a stream of frames, arriving in pieces, and a message's
// payload, read as any values. It must neither crash the agent nor fill its memory.

#include "workerpool/Frame.h"
#include "workerpool/WireReader.h"

#include <algorithm>
#include <cstdlib>

using namespace korvane;

namespace {

/** The payload's first bytes choose what is read; a reader that has failed yields nothing more. */
void readValues(WorkerMessage message)
{
    const Data plan = message.payload.slice(0, 16);
    const std::size_t size = message.payload.size();
    WireReader reader(std::move(message));
    for (const std::uint8_t step : plan.bytes()) {
        const bool failedBefore = reader.failed();
        std::size_t yielded = 0;
        switch (step % 8) {
        case 0: yielded = reader.u8(); break;
        case 1: yielded = reader.u64(); break;
        case 2: yielded = static_cast<std::size_t>(reader.i32()); break;
        case 3: yielded = reader.boolean() ? 1 : 0; break;
        case 4: yielded = reader.string().size(); break;
        case 5: yielded = reader.f64() != 0 ? 1 : 0; break;
        case 6: yielded = reader.document().length; break;
        default:
            yielded = reader.count(8);
            if (yielded > size / 8) std::abort();
        }
        if (failedBefore && yielded != 0) std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    if (size == 0) return 0;
    readValues({.payload = Data::copying(std::span(bytes, size))});
    const std::size_t piece = bytes[0] + 1U;
    std::span<const std::uint8_t> stream(bytes + 1, size - 1);
    FrameDecoder decoder(0);
    while (!stream.empty()) {
        const std::span<std::uint8_t> room = decoder.room();
        if (room.empty()) std::abort();
        const std::size_t count = std::min({room.size(), piece, stream.size()});
        std::ranges::copy(stream.first(count), room.begin());
        stream = stream.subspan(count);
        switch (decoder.received(count, {})) {
        case FrameDecoder::Progress::needMore: break;
        case FrameDecoder::Progress::complete: readValues(decoder.take()); break;
        case FrameDecoder::Progress::invalid: return 0;
        }
    }
    return 0;
}
