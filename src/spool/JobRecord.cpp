#include "spool/JobRecord.h"

#include "base/Files.h"
#include "text/PercentEncoding.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <map>
#include <string>

namespace korvane {

namespace {

/** The last bytes of a job's file: how long the record before them is, and a mark. */
constexpr std::string_view mark = "korvane job\n";
constexpr std::size_t sizeDigits = 10;
constexpr std::size_t footerSize = sizeDigits + 1 + mark.size();

using Fields = std::map<std::string, std::string, std::less<>>;

Fields splitLines(std::string_view text)
{
    Fields fields;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const std::size_t space = line.find(' ');
        if (space != std::string_view::npos)
            fields.emplace(line.substr(0, space), text::percentDecoded(line.substr(space + 1)));
    }
    return fields;
}

template <typename Number>
std::optional<Number> parseNumber(std::string_view text)
{
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

/** Whether it is the name of a file in whatever folder, and leads nowhere else. */
bool isFileName(const std::string& text)
{
    const std::filesystem::path path(text);
    return canNameFile(path) && !path.empty() && path == path.filename() && path != "." &&
           path != "..";
}

} // namespace

std::string encodeRecord(const JobRecord& record)
{
    const auto seconds =
        std::chrono::duration_cast<std::chrono::seconds>(record.ticket.accepted.time_since_epoch());
    return fmt::format("name {}\naccepted {}\nfolder {}\nfile {}\nlength {}\n",
                       text::percentEncoded(record.ticket.jobName), seconds.count(),
                       text::percentEncoded(record.ticket.saveDirectory.native()),
                       text::percentEncoded(record.ticket.fileName), record.length);
}

std::optional<JobRecord> decodeRecord(std::string_view text)
{
    Fields fields = splitLines(text);
    const auto seconds = parseNumber<std::int64_t>(fields["accepted"]);
    const auto length = parseNumber<std::uint64_t>(fields["length"]);
    if (!seconds || !length || !isFileName(fields["file"])) return std::nullopt;
    return JobRecord{.ticket = {.jobName = fields["name"],
                                .accepted = std::chrono::system_clock::time_point(
                                    std::chrono::seconds(*seconds)),
                                .saveDirectory = fields["folder"],
                                .fileName = fields["file"]},
                     .length = *length};
}

Result<void, SystemError> appendRecord(int file, const JobRecord& record)
{
    const std::string text = encodeRecord(record);
    const std::string bytes = fmt::format("{}{:{}} {}", text, text.size(), sizeDigits, mark);
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count = ::pwrite(file, bytes.data() + written, bytes.size() - written,
                                       static_cast<off_t>(record.length + written));
        if (count < 0 && errno != EINTR) return failure(SystemError::last());
        written += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return {};
}

Result<JobRecord, SystemError> readAppendedRecord(int file)
{
    const auto none = failure(SystemError{ENODATA});
    struct stat status {};
    if (::fstat(file, &status) != 0) return failure(SystemError::last());
    const auto fileSize = static_cast<std::uint64_t>(status.st_size);
    if (fileSize < footerSize) return none;
    const auto footer = readAt(file, fileSize - footerSize, footerSize);
    if (!footer) return failure(footer.error());
    std::string_view digits = footer->text().substr(0, sizeDigits);
    digits.remove_prefix(std::min(digits.find_first_not_of(' '), digits.size()));
    const auto size = parseNumber<std::size_t>(digits);
    if (!size || *size > std::min<std::uint64_t>(maxRecordSize, fileSize - footerSize) ||
        footer->text().substr(sizeDigits + 1) != mark)
        return none;
    const auto text = readAt(file, fileSize - footerSize - *size, *size);
    if (!text) return failure(text.error());
    auto record = decodeRecord(text->text());
    if (!record || record->length != fileSize - footerSize - *size) return none;
    return *std::move(record);
}

} // namespace korvane
