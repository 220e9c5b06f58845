#pragma once

#include "base/DocumentFile.h"
#include "workerpool/Fields.h"
#include "workerpool/WireReader.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace korvane {

/**
 * Reads the fields of values, which a hostile process may have written: a value that is not what
 * its field may be makes the reader fail, and memory grows with the bytes that are there, not with
 * the counts that they announce. What was read is of use only if the reader has not failed.
 */
class FieldReader {
public:
    explicit FieldReader(WireReader& in) : in_(in) {}

    /** From `least` to `most`; never NaN. */
    template <typename Number>
    void number(Number& value, std::type_identity_t<Number> least,
                std::type_identity_t<Number> most)
    {
        value = read<Number>();
        check(value >= least && value <= most);
    }

    void flag(bool& value) { value = in_.boolean(); }

    /** An enumerator from the first, which is 0, to `last`. */
    template <typename Enum>
    void choice(Enum& value, Enum last)
    {
        const std::uint8_t number = in_.u8();
        check(number <= static_cast<std::uint8_t>(last));
        value = in_.failed() ? Enum{} : static_cast<Enum>(number);
    }

    /** Well-formed UTF-8 of at most so many bytes. */
    void text(std::string& value, std::size_t maxBytes);

    /** Any bytes, at most so many. */
    void bytes(std::string& value, std::size_t maxBytes);

    /** At most so many values, which `field` reads each. */
    template <typename T, typename Field>
    void list(std::vector<T>& values, std::size_t maxCount, Field field)
    {
        const std::size_t count = in_.count();
        check(count <= maxCount);
        values.clear();
        while (!in_.failed() && values.size() < count) field(values.emplace_back());
    }

    /** The same for values that have fields of their own. */
    template <typename T>
    void list(std::vector<T>& values, std::size_t maxCount)
    {
        list(values, maxCount, [this](T& value) { fields(*this, value); });
    }

    /** At most so many entries of bytes, in ascending order. */
    void entries(std::map<std::string, std::string>& values, std::size_t maxCount,
                 std::size_t maxBytes);

    template <typename T>
    void optional(std::optional<T>& value)
    {
        value.reset();
        if (in_.boolean()) fields(*this, value.emplace());
    }

    /** From an agent only. Not mapped yet. */
    void document(DocumentFile& value) { value = in_.document(); }

    /** From an agent only. */
    void descriptor(SharedDescriptor& value) { value = in_.descriptor(); }

    /** What must be true of the fields read so far. */
    void check(bool isValid)
    {
        if (!isValid) in_.fail();
    }

private:
    template <typename Number>
    Number read()
    {
        if constexpr (std::is_same_v<Number, double>)
            return in_.f64();
        else if constexpr (std::is_same_v<Number, std::int32_t>)
            return in_.i32();
        else {
            static_assert(std::is_same_v<Number, std::uint64_t>);
            return in_.u64();
        }
    }

    WireReader& in_;
};

} // namespace korvane
