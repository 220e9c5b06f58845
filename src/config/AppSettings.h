#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/** What the user chose, as the settings application writes it to settings.json. */
struct AppSettings {
    /** The printer's name as advertised and reported. */
    std::string printerName;
    /** The folder that receives the saved documents; empty while the user has chosen none. */
    std::string saveDirectoryPath;
    /** Whether the "Add to Notes" action is offered. */
    bool notesEnabled = false;
    /** The Notes folder that receives notes. */
    std::string notesFolder = "Printed";
    std::uint16_t ippPort = 8631;
    /** Whether the printer answers as IPP Everywhere 1.1 asks (PWG 5100.14). */
    bool ippEverywhere = false;

    friend bool operator==(const AppSettings&, const AppSettings&) = default;
};

/** Whether a port needs no privileges. */
bool isUnprivilegedPort(std::uint16_t port);

/** Whether the settings are complete enough to run the printer: it has a name that is not blank, a
 *  save folder, and a port that needs no privileges. */
bool isConfigured(const AppSettings& settings);

/** The save folder as an absolute path, as which it means the same to every program: one that is
 *  relative is below the agent's working folder. Empty while the user has chosen none. */
std::string absoluteSaveDirectory(const AppSettings& settings);

/** The name of a printer that nobody has named, after the computer's own name. */
std::string defaultPrinterName(const std::optional<std::string>& hostName);

/**
 * The settings in a JSON text (RFC 8259), or nothing when one of them breaks a rule: there are no
 * half-valid settings. Every member but ippPort and ippEverywhere is required; unknown members are
 * ignored; of members of the same name the last counts.
 */
std::optional<AppSettings> decodeSettings(std::string_view json);

/** The JSON text `former`, if that is an object, with these settings in it and its other members as
 *  they were; nothing where it is no object, or a setting is not UTF-8. Without a former text
 *  settings.json as a whole. */
std::optional<std::string> encodeSettings(const AppSettings& settings,
                                          const std::optional<std::string>& former);

} // namespace korvane
