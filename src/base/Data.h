#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace korvane {

class SharedMemory;

/** Where bytes lie in a sealed memory file. */
struct SharedBytes {
    /** Belongs to the Data, and is open for as long as that lives. */
    int descriptor = -1;
    std::size_t offset = 0;
    std::size_t length = 0;
};

/**
 * An immutable run of bytes. Copies and slices share one storage, which lives until the last of
 * them is gone: a copy costs a pointer however large the document is. Safe to use from any thread.
 */
class Data {
public:
    Data() = default;

    /** Bytes that live as long as `owner` does, and do not change. */
    Data(std::shared_ptr<const void> owner, std::span<const std::uint8_t> bytes)
        : owner_(std::move(owner)), bytes_(bytes)
    {
    }

    /** Bytes inside of `memory`, which is sealed. */
    Data(std::shared_ptr<const SharedMemory> memory, std::span<const std::uint8_t> bytes);

    explicit Data(std::vector<std::uint8_t> bytes);

    static Data copying(std::span<const std::uint8_t> bytes);
    static Data copying(std::string_view text);

    /** The pieces one after the other; a single piece keeps its storage. */
    static Data joining(std::span<const Data> pieces);

    std::size_t size() const { return bytes_.size(); }
    bool empty() const { return bytes_.empty(); }
    std::span<const std::uint8_t> bytes() const { return bytes_; }

    /** The bytes as text; nothing is checked or copied. Valid while this Data lives. */
    std::string_view text() const;

    /** Up to `count` bytes from `offset`; what lies past the end is left out. Shares the storage.
     */
    Data slice(std::size_t offset, std::size_t count = SIZE_MAX) const;

    /** Where another process can find the bytes without copying them; nothing when they lie in
     *  memory of this process alone, as small ones do. */
    std::optional<SharedBytes> shared() const;

    /** Equal bytes, wherever they are stored. */
    friend bool operator==(const Data& left, const Data& right);

private:
    std::shared_ptr<const void> owner_;
    /** The owner, when it is shared memory. */
    const SharedMemory* memory_ = nullptr;
    std::span<const std::uint8_t> bytes_;
};

} // namespace korvane
