#pragma once

#include "ipp/PrinterProfile.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/** A document format that the printer takes, whatever its profile. */
struct DocumentFormat {
    /** How a document of the format becomes PDF. */
    enum class Conversion { none, raster, jpeg };

    /** As errors name it. */
    std::string_view name;
    /** As "document-format" and the "pdl" key of the TXT record name it (RFC 8011, section 5.1.10).
     */
    std::string_view mediaType;
    /** What every document of the format begins with. */
    std::string_view magic;
    Conversion conversion = Conversion::none;
    /** Whether the basic profile names it to clients; IPP Everywhere names all of them. */
    bool isBasic = false;
};

/** What URF documents begin with. */
inline constexpr std::string_view urfMagic{"UNIRAST\0", 8};
/** What PWG raster documents begin with (PWG 5102.4). */
inline constexpr std::string_view pwgRasterMagic = "RaS2";

/** All of them, the default one first. What clients are told and what is taken comes from here. */
inline constexpr std::array documentFormats = {
    DocumentFormat{"PDF", "application/pdf", "%PDF", DocumentFormat::Conversion::none, true},
    DocumentFormat{"URF", "image/urf", urfMagic, DocumentFormat::Conversion::raster, true},
    DocumentFormat{"PWG raster", "image/pwg-raster", pwgRasterMagic,
                   DocumentFormat::Conversion::raster},
    DocumentFormat{"JPEG", "image/jpeg", "\xFF\xD8\xFF", DocumentFormat::Conversion::jpeg},
};

/** The formats that a printer of the profile names to clients. */
inline std::vector<std::string> supportedMediaTypes(PrinterProfile profile)
{
    std::vector<std::string> types;
    types.reserve(documentFormats.size());
    for (const DocumentFormat& format : documentFormats) {
        if (format.isBasic || profile != PrinterProfile::basic)
            types.emplace_back(format.mediaType);
    }
    return types;
}

/** What a URF document may use: color and gray at 8 bits, 300 dpi, one-sided. */
inline constexpr std::array<std::string_view, 5> urfCapabilities = {"SRGB24", "W8", "RS300", "DM1",
                                                                    "V1.4"};

/** The same as IPP Everywhere names it: what the decoder takes, in one copy and one quality.
 *  Without "DM", which would offer two sides. */
inline constexpr std::array<std::string_view, 6> everywhereURFCapabilities = {
    "V1.4", "CP1", "PQ4", "RS300", "SRGB24", "W8"};

/** The format of a document by its first bytes alone; null when it is none of the above. */
inline const DocumentFormat* recognizeFormat(std::string_view document)
{
    const auto* format = std::ranges::find_if(documentFormats, [&](const DocumentFormat& known) {
        return document.starts_with(known.magic);
    });
    return format == documentFormats.end() ? nullptr : format;
}

} // namespace korvane
