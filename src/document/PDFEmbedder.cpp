#include "document/PDFEmbedder.h"

#include "platform/files/AtomicFile.h"
#include "platform/pdf/Helvetica.h"
#include "platform/text/CodePoints.h"

#include <fmt/format.h>
#include <unistd.h>

#include <array>
#include <utility>

namespace korvane::PDFEmbedder {

namespace {

constexpr double referenceSize = 12;
constexpr double smallestSize = 1;
constexpr double smallestWidth = 1;
constexpr double baselineOffset = 1;

constexpr char32_t lineSeparator = 0x2028;
constexpr char32_t paragraphSeparator = 0x2029;
constexpr char32_t nextLine = 0x85;

/** Tabs and all that ends a line keep words apart. */
bool separatesWords(char32_t character)
{
    return (character >= '\t' && character <= '\r') || character == nextLine ||
           character == lineSeparator || character == paragraphSeparator;
}

/** As one line without control characters. */
std::string drawableText(std::string_view text)
{
    std::u32string line;
    for (const char32_t character : text::codePoints(text)) {
        if (separatesWords(character)) {
            line += U' ';
        } else if (!text::isControl(character)) {
            line += character;
        }
    }
    return text::encodeUTF8(line);
}

double fittingSize(std::string_view text, double width)
{
    const double target = width > smallestWidth ? width : smallestWidth;
    const double measured = helvetica::textWidth(text, referenceSize);
    if (measured <= 0) return referenceSize;
    const double size = referenceSize * target / measured;
    return size > smallestSize ? size : smallestSize;
}

Error makeError(const PDFWriteError& error)
{
    switch (error.kind) {
    case PDFWriteError::Kind::cannotOpenSource:
        return {Error::Code::cannotOpenSource, error.detail};
    case PDFWriteError::Kind::sourceIsSigned: return {Error::Code::sourceIsSigned, error.detail};
    case PDFWriteError::Kind::cannotWrite: return {Error::Code::cannotWrite, error.detail};
    case PDFWriteError::Kind::workerFailed: break;
    }
    return {Error::Code::workerFailed, error.detail};
}

std::vector<PageTextLayer> makeLayers(std::span<const OCRPageResult> pages)
{
    std::vector<PageTextLayer> layers;
    layers.reserve(pages.size());
    for (const OCRPageResult& page : pages) {
        layers.push_back({drawTextLayer(page.spans), page.readingTurns});
    }
    return layers;
}

/** Whoever wrote it works on documents that may have broken it. */
bool beginsLikePDF(int file)
{
    constexpr std::string_view header = "%PDF-";
    std::array<char, header.size()> start{};
    const ssize_t count = ::pread(file, start.data(), start.size(), 0);
    return count == static_cast<ssize_t>(header.size()) &&
           std::string_view(start.data(), start.size()) == header;
}

} // namespace

std::string_view Error::localizedDescription() const
{
    switch (code) {
    case Code::cannotOpenSource: return "Cannot open source PDF";
    case Code::cannotCreateDestination: return "Cannot create destination PDF context";
    case Code::sourceIsSigned: return "The source PDF is digitally signed and is not changed";
    case Code::cannotWrite: return "Cannot write destination PDF";
    case Code::workerFailed: break;
    }
    return "The PDF writer failed";
}

std::string Error::description() const
{
    std::string text =
        fmt::format("{} ({} error {}", localizedDescription(), errorDomain, static_cast<int>(code));
    if (!detail.empty()) text += ": " + detail;
    return text + ")";
}

Result<void, Error> writeSearchablePDF(std::span<const OCRPageResult> pages,
                                       const std::filesystem::path& destination,
                                       DocumentInformation information, const Write& write)
{
    information.insert_or_assign("Creator", "Korvane");
    auto file = AtomicFile::create(destination);
    if (!file) {
        return failure(Error{Error::Code::cannotCreateDestination, file.error().description()});
    }
    const auto written = write(makeLayers(pages), information, file->descriptor());
    if (!written) return failure(makeError(written.error()));
    if (!beginsLikePDF(file->descriptor()))
        return failure(Error{Error::Code::workerFailed, "what it wrote is no PDF"});
    return file->publish().map_error([](const SystemError& error) {
        return Error{Error::Code::cannotWrite, error.description()};
    });
}

std::vector<TextLine> drawTextLayer(std::span<const OCRSpan> spans)
{
    std::vector<TextLine> lines;
    for (const OCRSpan& span : spans) {
        std::string text = drawableText(span.text);
        if (text.empty()) continue;
        const double size = fittingSize(text, span.rect.width);
        lines.push_back({.text = std::move(text),
                         .x = span.rect.x,
                         .baseline = span.rect.y + baselineOffset,
                         .fontSize = size});
    }
    return lines;
}

} // namespace korvane::PDFEmbedder
