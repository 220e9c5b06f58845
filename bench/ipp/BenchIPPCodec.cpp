// How long the answer to Get-Printer-Attributes takes to make, to encode and to decode: the answer
// that every client asks for before every job, and often while its print dialogue is open.

#include "ipp/IPPCodec.h"
#include "ipp/PrinterAttributes.h"

#include <fmt/core.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>

namespace {

using namespace korvane;

constexpr int rounds = 20;
constexpr int repetitions = 2000;

IPPMessage printerAttributesAnswer()
{
    const PrinterDescriptor descriptor{
        .name = "Scans of the Front Office",
        .uri = "ipp://front-office.local:8631/ipp/print",
        .uuid = "1b4e28ba-2fa1-11d2-883f-0016d3cca427",
        .location = "First floor, beside the window",
    };
    return {
        .versionMajor = 2,
        .versionMinor = 0,
        .code = 0,
        .requestID = 4711,
        .groups = {{IPPTag::operationAttributes,
                    {ipp::makeTextAttribute("attributes-charset", {"utf-8"}, IPPTag::charset),
                     ipp::makeTextAttribute("attributes-natural-language", {"en"},
                                            IPPTag::naturalLanguage)}},
                   ipp::makePrinterAttributes(descriptor)},
        .documentData = {},
    };
}

/** Keeps the compiler from leaving out the work whose result this is. */
template <typename T>
void use(const T& result)
{
    asm volatile("" : : "g"(&result) : "memory");
}

/** The time of one call in microseconds: the best of several rounds, as other programs disturb. */
template <typename Work>
double microseconds(Work work)
{
    using Clock = std::chrono::steady_clock;
    double best = std::numeric_limits<double>::max();
    for (int round = 0; round < rounds; ++round) {
        const auto start = Clock::now();
        for (int i = 0; i < repetitions; ++i) use(work());
        const std::chrono::duration<double, std::micro> taken = Clock::now() - start;
        best = std::min(best, taken.count() / repetitions);
    }
    return best;
}

} // namespace

int main()
{
    const IPPMessage message = printerAttributesAnswer();
    const Data encoded = ipp::encode(message);
    const double copying = microseconds([&] { return Data::copying(encoded.bytes()); });
    const auto report = [&](const char* what, double time) {
        fmt::print("{:<24}{:8.2f} us {:8.1f} x copying its {} bytes\n", what, time, time / copying,
                   encoded.size());
    };
    report("copy", copying);
    report("makePrinterAttributes", microseconds([] { return printerAttributesAnswer(); }));
    report("encode", microseconds([&] { return ipp::encode(message); }));
    report("decode", microseconds([&] { return ipp::decode(encoded); }));
}
