#pragma once

#include "base/ByteBuffer.h"
#include "base/Data.h"
#include "raster/PWGDecoder.h"
#include "raster/URFDecoder.h"

#include <span>

namespace korvane::test {

/** What a decoder writes, in memory. */
template <typename Decode>
Result<Data, RasterError> decodedWith(Decode decode, const Data& document,
                                      const RasterLimits& limits)
{
    ByteBuffer pdf;
    const auto keep = [&](std::span<const std::uint8_t> bytes) -> Result<void, SystemError> {
        pdf.append(bytes);
        return {};
    };
    return decode(document, keep, limits).map([&](std::uint64_t) { return pdf.take(); });
}

/** The PDF of a URF document. */
inline Result<Data, RasterError> decodedURF(const Data& document, const RasterLimits& limits = {})
{
    return decodedWith(URFDecoder::decodeToPDF, document, limits);
}

/** The PDF of a PWG raster document. */
inline Result<Data, RasterError> decodedPWG(const Data& document, const RasterLimits& limits = {})
{
    return decodedWith(PWGDecoder::decodeToPDF, document, limits);
}

} // namespace korvane::test
