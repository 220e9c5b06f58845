#include "workerpool/FieldReader.h"

#include "text/Text.h"

namespace korvane {

void FieldReader::bytes(std::string& value, std::size_t maxBytes)
{
    value = in_.string();
    check(value.size() <= maxBytes);
}

void FieldReader::text(std::string& value, std::size_t maxBytes)
{
    bytes(value, maxBytes);
    check(text::isWellFormedUTF8(value));
}

void FieldReader::entries(std::map<std::string, std::string>& values, std::size_t maxCount,
                          std::size_t maxBytes)
{
    const std::size_t count = in_.count();
    check(count <= maxCount);
    values.clear();
    while (!in_.failed() && values.size() < count) {
        std::string key;
        std::string value;
        bytes(key, maxBytes);
        bytes(value, maxBytes);
        check(values.empty() || values.rbegin()->first < key);
        values.emplace_hint(values.end(), std::move(key), std::move(value));
    }
}

} // namespace korvane
