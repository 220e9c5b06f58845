#pragma once

#include "base/DocumentFile.h"
#include "workerpool/Fields.h"
#include "workerpool/WireWriter.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace korvane {

/** Writes the fields of values; a FieldReader reads them. */
class FieldWriter {
public:
    explicit FieldWriter(WireWriter& out) : out_(out) {}

    template <typename Number>
    void number(Number value, std::type_identity_t<Number> /*least*/,
                std::type_identity_t<Number> /*most*/)
    {
        if constexpr (std::is_same_v<Number, double>)
            out_.f64(value);
        else if constexpr (std::is_same_v<Number, std::int32_t>)
            out_.i32(value);
        else {
            static_assert(std::is_same_v<Number, std::uint64_t>);
            out_.u64(value);
        }
    }

    void flag(bool value) { out_.boolean(value); }

    template <typename Enum>
    void choice(Enum value, Enum /*last*/)
    {
        out_.u8(static_cast<std::uint8_t>(value));
    }

    void text(std::string_view value, std::size_t /*maxBytes*/) { out_.string(value); }

    void bytes(std::string_view value, std::size_t /*maxBytes*/) { out_.string(value); }

    template <typename T, typename Field>
    void list(const std::vector<T>& values, std::size_t /*maxCount*/, Field field)
    {
        out_.count(values.size());
        for (const T& value : values) field(value);
    }

    template <typename T>
    void list(const std::vector<T>& values, std::size_t maxCount)
    {
        list(values, maxCount, [this](const T& value) { fields(*this, value); });
    }

    void entries(const std::map<std::string, std::string>& values, std::size_t /*maxCount*/,
                 std::size_t /*maxBytes*/)
    {
        out_.count(values.size());
        for (const auto& [key, value] : values) {
            out_.string(key);
            out_.string(value);
        }
    }

    template <typename T>
    void optional(const std::optional<T>& value)
    {
        out_.boolean(value.has_value());
        if (value) fields(*this, *value);
    }

    void document(const DocumentFile& value) { out_.document(value); }

    void descriptor(const SharedDescriptor& value) { out_.descriptor(value); }

    void check(bool /*isValid*/) {}

private:
    WireWriter& out_;
};

} // namespace korvane
