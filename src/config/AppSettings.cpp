#include "config/AppSettings.h"

#include "text/Text.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <limits>
#include <system_error>

namespace korvane {

namespace {

constexpr std::uint16_t lastPrivilegedPort = 1023;

using JSON = nlohmann::json;

/** The member of an object; null when it is absent. */
const JSON& member(const JSON& object, const char* key)
{
    static const JSON absent;
    const auto found = object.find(key);
    return found == object.end() ? absent : *found;
}

bool decode(const JSON& value, std::string& text)
{
    if (!value.is_string()) return false;
    text = value.get_ref<const std::string&>();
    return true;
}

bool decode(const JSON& value, bool& flag)
{
    if (!value.is_boolean()) return false;
    flag = value.get<bool>();
    return true;
}

bool decodeOptional(const JSON& value, bool& flag)
{
    return value.is_null() || decode(value, flag);
}

/**
 * JSON has one kind of number, so another program may write a port as 8631, 8631.0 or 8.631e3:
 * what counts is that the value is whole, which 8631.5 is not. A double tells all values apart that
 * could be taken for a port.
 */
bool decodePort(const JSON& value, std::uint16_t& port)
{
    if (value.is_null()) return true;
    if (!value.is_number()) return false;
    const auto number = value.get<double>();
    if (!(number >= 0 && number <= std::numeric_limits<std::uint16_t>::max())) return false;
    port = static_cast<std::uint16_t>(number);
    return port == number;
}

} // namespace

bool isUnprivilegedPort(std::uint16_t port)
{
    return port > lastPrivilegedPort;
}

bool isConfigured(const AppSettings& settings)
{
    return !text::trimmingHorizontalSpace(settings.printerName).empty() &&
           !settings.saveDirectoryPath.empty() && isUnprivilegedPort(settings.ippPort);
}

std::string absoluteSaveDirectory(const AppSettings& settings)
{
    if (settings.saveDirectoryPath.empty()) return {};
    std::error_code error;
    const auto path = std::filesystem::absolute(settings.saveDirectoryPath, error);
    return error ? settings.saveDirectoryPath : path.native();
}

std::string defaultPrinterName(const std::optional<std::string>& hostName)
{
    return hostName ? "Virtual Printer on " + *hostName : "Korvane Printer";
}

std::optional<AppSettings> decodeSettings(std::string_view json)
{
    const JSON object = JSON::parse(json, nullptr, /*allow_exceptions=*/false);
    if (!object.is_object()) return std::nullopt;
    AppSettings settings;
    const bool isValid = decode(member(object, "printerName"), settings.printerName) &&
                         decode(member(object, "saveDirectoryPath"), settings.saveDirectoryPath) &&
                         decode(member(object, "notesEnabled"), settings.notesEnabled) &&
                         decode(member(object, "notesFolder"), settings.notesFolder) &&
                         decodePort(member(object, "ippPort"), settings.ippPort) &&
                         decodeOptional(member(object, "ippEverywhere"), settings.ippEverywhere);
    if (!isValid) return std::nullopt;
    return settings;
}

std::optional<std::string> encodeSettings(const AppSettings& settings,
                                          const std::optional<std::string>& former)
{
    using OrderedJSON = nlohmann::ordered_json;
    OrderedJSON object = OrderedJSON::object();
    if (former) object = OrderedJSON::parse(*former, nullptr, /*allow_exceptions=*/false);
    if (!object.is_object()) return std::nullopt;
    object["printerName"] = settings.printerName;
    object["saveDirectoryPath"] = settings.saveDirectoryPath;
    object["notesEnabled"] = settings.notesEnabled;
    object["notesFolder"] = settings.notesFolder;
    object["ippPort"] = settings.ippPort;
    object["ippEverywhere"] = settings.ippEverywhere;
    try {
        return object.dump(2) + "\n";
    } catch (const OrderedJSON::exception&) {
        return std::nullopt; // not UTF-8
    }
}

} // namespace korvane
