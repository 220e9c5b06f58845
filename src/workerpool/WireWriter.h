#pragma once

#include "base/ByteBuffer.h"
#include "base/DocumentFile.h"
#include "workerpool/WorkerMessage.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace korvane {

/**
 * Writes values one after the other into a message; a WireReader reads them in the same order.
 * Numbers are in the byte order of this machine, a text follows its length, a list the count of its
 * elements.
 */
class WireWriter {
public:
    void u8(std::uint8_t value) { number(value); }
    void u64(std::uint64_t value) { number(value); }
    void i32(std::int32_t value) { number(value); }
    void f64(double value) { number(value); }
    void boolean(bool value) { u8(value ? 1 : 0); }
    void string(std::string_view text)
    {
        count(text.size());
        bytes_.append(text);
    }
    /** How many elements follow. */
    void count(std::size_t elements) { u64(elements); }

    /** The document itself is not copied: its descriptor goes along. To a worker only. */
    void document(DocumentFile document)
    {
        u64(document.length);
        descriptor(std::move(document.file));
    }

    /** The other side gets the file as it is open here. To a worker only. */
    void descriptor(SharedDescriptor file) { descriptors_.push_back(std::move(file)); }

    /** How many bytes were written. */
    std::size_t size() const { return bytes_.size(); }

    /** What was written. The writer is empty afterwards. */
    WorkerMessage message(std::uint16_t code = 0)
    {
        return {
            .code = code, .payload = bytes_.take(), .descriptors = std::exchange(descriptors_, {})};
    }

private:
    template <typename Number>
    void number(Number value)
    {
        bytes_.append(std::bit_cast<std::array<std::uint8_t, sizeof value>>(value));
    }

    ByteBuffer bytes_;
    std::vector<SharedDescriptor> descriptors_;
};

} // namespace korvane
