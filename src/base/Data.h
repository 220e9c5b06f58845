#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace korvane {

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

    explicit Data(std::vector<std::uint8_t> bytes);

    static Data copying(std::span<const std::uint8_t> bytes);
    static Data copying(std::string_view text);

    std::size_t size() const { return bytes_.size(); }
    bool empty() const { return bytes_.empty(); }
    std::span<const std::uint8_t> bytes() const { return bytes_; }

    /** The bytes as text; nothing is checked or copied. Valid while this Data lives. */
    std::string_view text() const;

    /** Up to `count` bytes from `offset`; what lies past the end is left out. Shares the storage.
     */
    Data slice(std::size_t offset, std::size_t count = SIZE_MAX) const;

    /** Equal bytes, wherever they are stored. */
    friend bool operator==(const Data& left, const Data& right);

private:
    std::shared_ptr<const void> owner_;
    std::span<const std::uint8_t> bytes_;
};

} // namespace korvane
