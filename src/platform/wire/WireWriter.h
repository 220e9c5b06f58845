#pragma once

#include "platform/base/ByteBuffer.h"
#include "platform/base/SealedBytes.h"
#include "platform/wire/WorkerMessage.h"

#include <cstdint>
#include <string_view>

namespace korvane {

/**
 * Writes values one after the other into a message; a WireReader reads them in the same order.
 * Numbers are little-endian, texts and bytes follow their length, a list follows the count of its
 * elements.
 */
class WireWriter {
public:
    void u8(std::uint8_t number);
    void u16(std::uint16_t number);
    void u32(std::uint32_t number);
    void u64(std::uint64_t number);
    void i32(std::int32_t number);
    void f64(double number);
    void boolean(bool value);
    void string(std::string_view text);
    /** The bytes themselves, copied. */
    void data(const Data& bytes);
    /** How many elements follow. */
    void count(std::size_t elements);

    /** The document itself is not copied: its descriptor goes along. Towards the worker only. */
    void document(SealedBytes bytes);

    /** The other side gets the file as it is open here. Towards the worker only. */
    void descriptor(SharedDescriptor file);

    /** What was written. The writer is empty afterwards. */
    WorkerMessage message(std::uint16_t code = 0);

private:
    ByteBuffer bytes_;
    std::vector<SharedDescriptor> descriptors_;
};

} // namespace korvane
