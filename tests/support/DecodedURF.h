#pragma once

#include "base/ByteBuffer.h"
#include "base/Data.h"
#include "raster/URFDecoder.h"

#include <span>

namespace korvane::test {

/** The PDF of a URF document, in memory. */
inline Result<Data, URFDecoder::Error> decodedURF(const Data& document,
                                                  const URFDecoder::Limits& limits = {})
{
    ByteBuffer pdf;
    const auto keep = [&](std::span<const std::uint8_t> bytes) -> Result<void, SystemError> {
        pdf.append(bytes);
        return {};
    };
    return URFDecoder::decodeToPDF(document, keep, limits).map([&](std::uint64_t) {
        return pdf.take();
    });
}

} // namespace korvane::test
