#include "config/JSONText.h"

#include <nlohmann/json.hpp>

#include <utility>
#include <vector>

namespace korvane {

namespace {

using JSON = nlohmann::ordered_json;

JSON encode(const BusDictionary& entries);

struct Encoder {
    JSON operator()(std::monostate /*nothing*/) const { return nullptr; }
    JSON operator()(const BusDictionary& entries) const { return encode(entries); }
    JSON operator()(const std::vector<BusDictionary>& dictionaries) const
    {
        JSON array = JSON::array();
        for (const BusDictionary& entries : dictionaries) array.push_back(encode(entries));
        return array;
    }
    template <typename Plain>
    JSON operator()(const Plain& value) const
    {
        return value;
    }
};

JSON encode(const BusDictionary& entries)
{
    JSON object = JSON::object();
    for (const BusEntry& entry : entries) object[entry.key] = std::visit(Encoder{}, entry.value);
    return object;
}

BusValue decode(const JSON& value)
{
    if (value.is_string()) return value.get<std::string>();
    if (value.is_boolean()) return value.get<bool>();
    if (value.is_number_integer()) return value.get<std::int64_t>();
    return {};
}

BusDictionary decodePlain(const JSON& object)
{
    BusDictionary entries;
    for (const auto& [key, member] : object.items()) {
        BusValue value = decode(member);
        if (!std::holds_alternative<std::monostate>(value)) entries.push_back({key, value});
    }
    return entries;
}

std::vector<BusDictionary> decodeArray(const JSON& array)
{
    std::vector<BusDictionary> dictionaries;
    for (const JSON& element : array) {
        if (element.is_object()) dictionaries.push_back(decodePlain(element));
    }
    return dictionaries;
}

} // namespace

std::string jsonText(const BusDictionary& entries)
{
    return encode(entries).dump(2, ' ', false, JSON::error_handler_t::replace) + "\n";
}

std::optional<BusDictionary> parseJSONText(std::string_view json)
{
    const JSON object = JSON::parse(json, nullptr, /*allow_exceptions=*/false);
    if (!object.is_object()) return std::nullopt;
    BusDictionary entries = decodePlain(object);
    for (const auto& [key, member] : object.items()) {
        if (member.is_array()) entries.push_back({key, decodeArray(member)});
    }
    return entries;
}

} // namespace korvane
