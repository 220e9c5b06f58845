#pragma once

#include "base/ByteBuffer.h"

#include <cstdint>
#include <span>

/**
 * Makes zlib streams (RFC 1950) without searching for what repeats but for runs of one byte. For
 * the differences between the neighboring pixels of a photograph, where next to nothing repeats,
 * that is several times as fast as libdeflate's fastest level and hardly larger; what cannot be
 * coded shorter at all, noise, is stored.
 */
namespace korvane::rundeflate {

/** Appends one complete stream to `output`. Throws std::bad_alloc. */
void compress(std::span<const std::uint8_t> input, ByteBuffer& output);

} // namespace korvane::rundeflate
