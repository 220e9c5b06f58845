#include "lib/systemd/BusCoding.h"

#include "base/SystemError.h"

#include <fmt/format.h>

#include <array>
#include <string_view>
#include <utility>

namespace korvane {

namespace {

int appendBasic(sd_bus_message& message, char type, const void* value)
{
    return ::sd_bus_message_append_basic(&message, type, value);
}

const char* signature(const BusValue& value)
{
    constexpr std::array<const char*, std::variant_size_v<BusValue>> signatures = {
        "", "s", "b", "i", "u", "y", "as", "a{sv}", "q", "ay", "x", "t", "aa{sv}"};
    return signatures.at(value.index());
}

int appendEntry(sd_bus_message& message, const BusEntry& entry)
{
    int result = ::sd_bus_message_open_container(&message, SD_BUS_TYPE_DICT_ENTRY, "sv");
    if (result >= 0) result = appendBasic(message, SD_BUS_TYPE_STRING, entry.key.c_str());
    if (result >= 0) {
        result =
            ::sd_bus_message_open_container(&message, SD_BUS_TYPE_VARIANT, signature(entry.value));
    }
    if (result >= 0) result = append(message, entry.value);
    if (result >= 0) result = ::sd_bus_message_close_container(&message);
    if (result >= 0) result = ::sd_bus_message_close_container(&message);
    return result;
}

/** Appends one value, by its type. */
struct Appender {
    sd_bus_message& message;

    int operator()(std::monostate /*nothing*/) const { return -EINVAL; }
    int operator()(const std::string& value) const
    {
        return appendBasic(message, SD_BUS_TYPE_STRING, value.c_str());
    }
    int operator()(bool value) const
    {
        const int number = value ? 1 : 0;
        return appendBasic(message, SD_BUS_TYPE_BOOLEAN, &number);
    }
    int operator()(std::int32_t value) const
    {
        return appendBasic(message, SD_BUS_TYPE_INT32, &value);
    }
    int operator()(std::uint32_t value) const
    {
        return appendBasic(message, SD_BUS_TYPE_UINT32, &value);
    }
    int operator()(std::uint8_t value) const
    {
        return appendBasic(message, SD_BUS_TYPE_BYTE, &value);
    }
    int operator()(std::uint16_t value) const
    {
        return appendBasic(message, SD_BUS_TYPE_UINT16, &value);
    }
    int operator()(std::int64_t value) const
    {
        return appendBasic(message, SD_BUS_TYPE_INT64, &value);
    }
    int operator()(std::uint64_t value) const
    {
        return appendBasic(message, SD_BUS_TYPE_UINT64, &value);
    }
    int operator()(const std::vector<std::uint8_t>& bytes) const
    {
        return ::sd_bus_message_append_array(&message, SD_BUS_TYPE_BYTE, bytes.data(),
                                             bytes.size());
    }
    int operator()(const std::vector<std::string>& values) const
    {
        int result = ::sd_bus_message_open_container(&message, SD_BUS_TYPE_ARRAY, "s");
        for (const std::string& value : values) {
            if (result >= 0) result = (*this)(value);
        }
        return result < 0 ? result : ::sd_bus_message_close_container(&message);
    }
    int operator()(const BusDictionary& entries) const
    {
        int result = ::sd_bus_message_open_container(&message, SD_BUS_TYPE_ARRAY, "{sv}");
        for (const BusEntry& entry : entries) {
            if (result >= 0) result = appendEntry(message, entry);
        }
        return result < 0 ? result : ::sd_bus_message_close_container(&message);
    }
    int operator()(const std::vector<BusDictionary>& dictionaries) const
    {
        int result = ::sd_bus_message_open_container(&message, SD_BUS_TYPE_ARRAY, "a{sv}");
        for (const BusDictionary& dictionary : dictionaries) {
            if (result >= 0) result = (*this)(dictionary);
        }
        return result < 0 ? result : ::sd_bus_message_close_container(&message);
    }
};

template <typename T>
bool readBasic(sd_bus_message& message, char type, BusValue& value)
{
    T number{};
    if (::sd_bus_message_read_basic(&message, type, &number) <= 0) return false;
    value = number;
    return true;
}

bool readBool(sd_bus_message& message, BusValue& value)
{
    int number = 0;
    if (::sd_bus_message_read_basic(&message, SD_BUS_TYPE_BOOLEAN, &number) <= 0) return false;
    value = number != 0;
    return true;
}

bool readString(sd_bus_message& message, std::string& value, char type = SD_BUS_TYPE_STRING)
{
    const char* text = nullptr;
    if (::sd_bus_message_read_basic(&message, type, &text) <= 0) return false;
    value = text;
    return true;
}

bool readStrings(sd_bus_message& message, BusValue& value)
{
    if (::sd_bus_message_enter_container(&message, SD_BUS_TYPE_ARRAY, "s") <= 0) return false;
    std::vector<std::string> texts;
    for (std::string text; readString(message, text);) texts.push_back(std::move(text));
    value = std::move(texts);
    return ::sd_bus_message_exit_container(&message) >= 0;
}

bool readValue(sd_bus_message& message, BusValue& value);
bool readVariant(sd_bus_message& message, const char* contents, BusValue& value);

bool readEntry(sd_bus_message& message, BusEntry& entry)
{
    const char* contents = nullptr;
    char type = 0;
    if (::sd_bus_message_enter_container(&message, SD_BUS_TYPE_DICT_ENTRY, "sv") <= 0) return false;
    return readString(message, entry.key) &&
           ::sd_bus_message_peek_type(&message, &type, &contents) > 0 &&
           readVariant(message, contents, entry.value) &&
           ::sd_bus_message_exit_container(&message) >= 0;
}

bool readEntries(sd_bus_message& message, BusDictionary& entries)
{
    if (::sd_bus_message_enter_container(&message, SD_BUS_TYPE_ARRAY, "{sv}") <= 0) return false;
    for (BusEntry entry; readEntry(message, entry);) entries.push_back(std::exchange(entry, {}));
    return ::sd_bus_message_exit_container(&message) >= 0;
}

bool readDictionary(sd_bus_message& message, BusValue& value)
{
    BusDictionary entries;
    if (!readEntries(message, entries)) return false;
    value = std::move(entries);
    return true;
}

bool readDictionaries(sd_bus_message& message, BusValue& value)
{
    if (::sd_bus_message_enter_container(&message, SD_BUS_TYPE_ARRAY, "a{sv}") <= 0) return false;
    std::vector<BusDictionary> dictionaries;
    for (BusDictionary entries; readEntries(message, entries);)
        dictionaries.push_back(std::exchange(entries, {}));
    value = std::move(dictionaries);
    return ::sd_bus_message_exit_container(&message) >= 0;
}

bool readVariant(sd_bus_message& message, const char* contents, BusValue& value)
{
    return ::sd_bus_message_enter_container(&message, SD_BUS_TYPE_VARIANT, contents) > 0 &&
           readValue(message, value) && ::sd_bus_message_exit_container(&message) >= 0;
}

/** Reads the next value; false at the end, or when it cannot be read. */
bool readValue(sd_bus_message& message, BusValue& value)
{
    char type = 0;
    const char* contents = nullptr;
    if (::sd_bus_message_peek_type(&message, &type, &contents) <= 0) return false;
    switch (type) {
    case SD_BUS_TYPE_STRING:
    case SD_BUS_TYPE_OBJECT_PATH: {
        std::string text;
        if (!readString(message, text, type)) return false;
        value = std::move(text);
        return true;
    }
    case SD_BUS_TYPE_BOOLEAN: return readBool(message, value);
    case SD_BUS_TYPE_INT32: return readBasic<std::int32_t>(message, type, value);
    case SD_BUS_TYPE_UINT32: return readBasic<std::uint32_t>(message, type, value);
    case SD_BUS_TYPE_INT64: return readBasic<std::int64_t>(message, type, value);
    case SD_BUS_TYPE_UINT64: return readBasic<std::uint64_t>(message, type, value);
    case SD_BUS_TYPE_UINT16: return readBasic<std::uint16_t>(message, type, value);
    case SD_BUS_TYPE_BYTE: return readBasic<std::uint8_t>(message, type, value);
    case SD_BUS_TYPE_VARIANT: return readVariant(message, contents, value);
    case SD_BUS_TYPE_ARRAY:
        if (contents == std::string_view("s")) return readStrings(message, value);
        if (contents == std::string_view("{sv}")) return readDictionary(message, value);
        if (contents == std::string_view("a{sv}")) return readDictionaries(message, value);
        break;
    default: break;
    }
    value = {};
    return ::sd_bus_message_skip(&message, nullptr) > 0;
}

std::string text(const char* value)
{
    return value != nullptr ? value : "";
}

} // namespace

BusError busError(int code)
{
    return {.name = code == -ETIMEDOUT ? SD_BUS_ERROR_NO_REPLY : SD_BUS_ERROR_FAILED,
            .message = SystemError{-code}.description()};
}

BusError disconnection(int code)
{
    return {.name = SD_BUS_ERROR_DISCONNECTED, .message = SystemError{-code}.description()};
}

BusError noSessionBus()
{
    return {.name = SD_BUS_ERROR_NO_SERVER, .message = "There is no session bus"};
}

Result<BusHandle, BusError> openBus(const std::string& address)
{
    sd_bus* made = nullptr;
    if (const int result = ::sd_bus_new(&made); result < 0) return failure(busError(result));
    BusHandle bus(made);
    int result = ::sd_bus_set_address(made, address.c_str());
    if (result >= 0) result = ::sd_bus_set_bus_client(made, 1);
    if (result >= 0) result = ::sd_bus_start(made);
    if (result < 0) return failure(disconnection(result));
    return bus;
}

Result<BusMessageHandle, BusError> encode(sd_bus& bus, const BusCall& call)
{
    sd_bus_message* made = nullptr;
    int result =
        ::sd_bus_message_new_method_call(&bus, &made, call.destination.c_str(), call.path.c_str(),
                                         call.interface.c_str(), call.member.c_str());
    BusMessageHandle message(made);
    if (result >= 0) result = append(*made, call.arguments);
    if (result < 0) return failure(busError(result));
    return message;
}

Result<BusMessageHandle, BusError> encode(sd_bus& bus, const BusEmission& emission)
{
    sd_bus_message* made = nullptr;
    int result = ::sd_bus_message_new_signal(&bus, &made, emission.path.c_str(),
                                             emission.interface.c_str(), emission.member.c_str());
    BusMessageHandle message(made);
    if (result >= 0) result = append(*made, emission.arguments);
    if (result < 0) return failure(busError(result));
    return message;
}

int append(sd_bus_message& message, const BusValue& value)
{
    return std::visit(Appender{message}, value);
}

int append(sd_bus_message& message, const std::vector<BusValue>& values)
{
    int result = 0;
    for (const BusValue& value : values) {
        if (result >= 0) result = append(message, value);
    }
    return result;
}

std::vector<BusValue> decodeArguments(sd_bus_message& message)
{
    std::vector<BusValue> arguments;
    for (BusValue value; readValue(message, value);) arguments.push_back(std::move(value));
    return arguments;
}

BusReply decodeReply(sd_bus_message& message)
{
    if (const sd_bus_error* error = ::sd_bus_message_get_error(&message)) {
        return failure(BusError{.name = text(error->name), .message = text(error->message)});
    }
    return decodeArguments(message);
}

BusSignal decodeSignal(sd_bus_message& message)
{
    return {.sender = text(::sd_bus_message_get_sender(&message)),
            .member = text(::sd_bus_message_get_member(&message)),
            .arguments = decodeArguments(message)};
}

std::string matchRule(const BusMatch& match)
{
    std::string rule = "type='signal'";
    const auto add = [&rule](const char* key, const std::string& value) {
        if (!value.empty()) rule += fmt::format(",{}='{}'", key, value);
    };
    add("sender", match.sender);
    add("path", match.path);
    add("interface", match.interface);
    add("member", match.member);
    add("arg0", match.firstArgument);
    return rule;
}

} // namespace korvane
