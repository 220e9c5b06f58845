#include "config/PrinterIdentity.h"

#include "base/AtomicFile.h"
#include "base/Data.h"
#include "base/Files.h"
#include "base/UUID.h"
#include "text/Text.h"

#include <fmt/format.h>

#include <optional>

namespace korvane {

namespace {

/** More than any UUID, and as much as one value in an IPP message can hold. */
constexpr std::size_t maxFileSize = std::size_t{64} * 1024;

std::optional<std::string> loadUUID(const std::filesystem::path& file, Log& log)
{
    if (!fileExists(file)) return std::nullopt;
    const auto content = readFile(file, maxFileSize);
    if (!content) {
        log.error(fmt::format("PrinterService: FAILED to read UUID file at {}: {}. Regenerating.",
                              file.native(), content.error().description()));
        return std::nullopt;
    }
    const std::string decoded = text::decodeUTF8(content->bytes());
    const std::string_view uuid = text::trimmingSpace(decoded);
    if (uuid.empty()) {
        log.note(
            fmt::format("PrinterService: UUID file at {} was empty; regenerating", file.native()));
        return std::nullopt;
    }
    log.note(fmt::format("PrinterService: loaded persistent UUID {} from {}", uuid, file.native()));
    return std::string(uuid);
}

std::string createUUID(const std::filesystem::path& file, Log& log)
{
    std::string uuid = makeRandomUUID();
    const auto written = writeFileAtomically(file, Data::copying(uuid).bytes());
    if (written) {
        log.note(fmt::format("PrinterService: created new persistent UUID {} at {}", uuid,
                             file.native()));
    } else {
        log.error(fmt::format("PrinterService: FAILED to persist UUID at {}: {}. Printer will "
                              "appear as new on every launch until this is fixed.",
                              file.native(), written.error().description()));
    }
    return uuid;
}

} // namespace

std::string loadOrCreatePrinterUUID(const std::filesystem::path& supportDirectory, Log& log)
{
    const std::filesystem::path file = supportDirectory / "printer-uuid";
    if (std::optional<std::string> uuid = loadUUID(file, log)) return *std::move(uuid);
    return createUUID(file, log);
}

} // namespace korvane
