#include "worker/DocumentWork.h"

#include "platform/base/SealedBytes.h"
#include "platform/files/DescriptorOutput.h"
#include "platform/qpdf/SearchablePDFWriter.h"
#include "platform/text/CodePoints.h"
#include "platform/text/Text.h"
#include "worker/PixelFile.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace korvane {

namespace {

using wire::DocumentOperation;

/** While a document is copied, it is let go of after so many bytes. */
constexpr std::size_t releaseStep = std::size_t{16} << 20;

/** Text past this is no page's. */
constexpr std::size_t mostPageText = std::size_t{512} << 10;

/** The text of a page may be anything that its fonts say. */
std::string wellFormed(std::string_view text)
{
    return text::isWellFormedUTF8(text) ? std::string(text)
                                        : text::encodeUTF8(text::codePoints(text));
}

wire::Status statusOf(PDFReader::Failure failure)
{
    return {.code = failure == PDFReader::Failure::needsPassword ? wire::Status::Code::needsPassword
                                                                 : wire::Status::Code::notReadable};
}

bool answerStatus(WireWriter& answer, const wire::Status& status)
{
    wire::write(answer, status);
    return true;
}

bool answerFailure(WireWriter& answer, const std::string& detail)
{
    return answerStatus(answer, {.code = wire::Status::Code::recognition, .detail = detail});
}

} // namespace

void DocumentWork::addTo(OperationTable& operations)
{
    const auto add = [&](DocumentOperation operation,
                         bool (DocumentWork::*function)(WireReader&, WireWriter&)) {
        operations.add(static_cast<std::uint16_t>(operation),
                       [this, function](WireReader& request, WireWriter& answer) {
                           const bool made = (this->*function)(request, answer);
                           // What was read of the document is not to add up page by page.
                           releasePages(source_);
                           return made;
                       });
    };
    add(DocumentOperation::languages, &DocumentWork::listLanguages);
    add(DocumentOperation::prepare, &DocumentWork::prepare);
    add(DocumentOperation::open, &DocumentWork::open);
    add(DocumentOperation::readPages, &DocumentWork::readPages);
    add(DocumentOperation::layOut, &DocumentWork::layOut);
    add(DocumentOperation::turn, &DocumentWork::turn);
    add(DocumentOperation::recognize, &DocumentWork::recognize);
    add(DocumentOperation::orientation, &DocumentWork::orientation);
    add(DocumentOperation::render, &DocumentWork::render);
    add(DocumentOperation::write, &DocumentWork::write);
    add(DocumentOperation::forget, &DocumentWork::forget);
}

bool DocumentWork::listLanguages(WireReader& request, WireWriter& answer)
{
    const std::string language = request.string();
    if (!request.finished()) return false;
    recognizer_.prepare(language);
    const std::vector<std::string> languages = recognizer_.languages();
    wire::write(answer, Status());
    answer.count(languages.size());
    for (const std::string& name : languages) answer.string(name);
    return true;
}

bool DocumentWork::prepare(WireReader& request, WireWriter& answer)
{
    const std::string language = request.string();
    if (!request.finished()) return false;
    recognizer_.prepare(language);
    return answerStatus(answer, {});
}

void DocumentWork::closeDocument()
{
    document_.reset();
    source_ = Data();
}

wire::Status DocumentWork::openDocument(WireReader& request)
{
    const std::uint64_t number = request.u64();
    Data bytes = request.document();
    if (request.failed()) return {.code = Status::Code::notReadable};
    if (document_ && number == documentNumber_) return {};
    closeDocument();
    auto opened = PDFReader::open(bytes);
    if (!opened) return statusOf(opened.error());
    source_ = std::move(bytes);
    document_ = std::move(*opened);
    documentNumber_ = number;
    return {};
}

bool DocumentWork::open(WireReader& request, WireWriter& answer)
{
    const Status status = openDocument(request);
    if (!request.finished()) return false;
    wire::write(answer, status);
    if (status.code == Status::Code::done) answer.u64(document_->pageCount());
    return true;
}

bool DocumentWork::readPages(WireReader& request, WireWriter& answer)
{
    const Status status = openDocument(request);
    const std::uint64_t first = request.u64();
    const std::uint64_t count = request.u64();
    if (!request.finished() || count > 1000) return false;
    wire::write(answer, status);
    if (status.code != Status::Code::done) return true;
    answer.count(count);
    for (std::uint64_t page = first; page < first + count; ++page) {
        PageInfo info =
            page < document_->pageCount() ? document_->readPage(page) : PageInfo{.exists = false};
        info.text = wellFormed(text::prefixOfSequences(info.text, mostPageText));
        wire::write(answer, info);
    }
    return true;
}

bool DocumentWork::answerPicture(std::uint64_t id, const FileDescriptor& file, WireWriter& answer)
{
    const TextRecognizer::Picture shape = recognizer_.picture();
    if (!writePixels(
            file.get(), shape.height, static_cast<std::size_t>(shape.width),
            [this](int row, std::span<std::uint8_t> pixels) { recognizer_.copyRow(row, pixels); }))
        return answerFailure(answer, "no memory for the picture");
    const auto lines = recognizer_.findLines();
    if (!lines) return answerFailure(answer, lines.error());
    wire::write(answer, Status());
    wire::writeShape(
        answer,
        {.id = id, .width = shape.width, .height = shape.height, .resolution = shape.resolution});
    wire::write(answer, *lines);
    pictureNumber_ = id;
    return true;
}

bool DocumentWork::layOut(WireReader& request, WireWriter& answer)
{
    const Status status = openDocument(request);
    const std::uint64_t page = request.u64();
    const double resolution = request.f64();
    const std::uint64_t id = request.u64();
    const SharedDescriptor file = request.descriptor();
    if (!request.finished()) return false;
    if (status.code != Status::Code::done) return answerStatus(answer, status);
    pictureNumber_ = 0;
    {
        const auto raster = document_->render(page, resolution, false);
        if (!raster) return answerStatus(answer, {.code = Status::Code::noPage});
        const bool loaded = recognizer_.load(
            {.width = raster->width, .height = raster->height, .resolution = raster->resolution},
            [&](int row, std::span<std::uint8_t> pixels) {
                std::ranges::copy(raster->row(row), pixels.begin());
                return true;
            });
        if (!loaded) return answerFailure(answer, "no memory for the picture");
    }
    return answerPicture(id, *file, answer);
}

wire::Status DocumentWork::openPicture(WireReader& request)
{
    const PagePicture shape = wire::readShape(request);
    const SharedDescriptor file = request.descriptor();
    if (request.failed()) return {.code = Status::Code::recognition};
    if (shape.id == pictureNumber_) return {};
    pictureNumber_ = 0;
    const bool loaded = recognizer_.load(
        {.width = shape.width, .height = shape.height, .resolution = shape.resolution},
        [&](int row, std::span<std::uint8_t> pixels) {
            return readPixels(file->get(), row, pixels);
        });
    if (!loaded) return {.code = Status::Code::recognition, .detail = "the picture is not whole"};
    pictureNumber_ = shape.id;
    return {};
}

bool DocumentWork::turn(WireReader& request, WireWriter& answer)
{
    const Status status = openPicture(request);
    const int quarterTurns = request.u8();
    const std::uint64_t id = request.u64();
    const SharedDescriptor file = request.descriptor();
    if (!request.finished()) return false;
    if (status.code != Status::Code::done) return answerStatus(answer, status);
    pictureNumber_ = 0;
    if (!recognizer_.turn(quarterTurns)) return answerFailure(answer, "no memory for the picture");
    return answerPicture(id, *file, answer);
}

bool DocumentWork::recognize(WireReader& request, WireWriter& answer)
{
    const Status status = openPicture(request);
    const std::vector<PixelBox> boxes = wire::readBoxes(request);
    const std::string language = request.string();
    if (!request.finished()) return false;
    if (status.code != Status::Code::done) return answerStatus(answer, status);
    auto lines = recognizer_.recognize(boxes, language);
    if (!lines) return answerFailure(answer, lines.error());
    wire::write(answer, Status());
    answer.count(lines->size());
    for (RecognizedLine& line : *lines) {
        line.text = wellFormed(line.text);
        wire::write(answer, line);
    }
    return true;
}

bool DocumentWork::orientation(WireReader& request, WireWriter& answer)
{
    const Status status = openPicture(request);
    if (!request.finished()) return false;
    if (status.code != Status::Code::done) return answerStatus(answer, status);
    const auto found = recognizer_.orientation();
    if (!found) return answerFailure(answer, found.error());
    wire::write(answer, Status());
    wire::write(answer, *found);
    return true;
}

bool DocumentWork::render(WireReader& request, WireWriter& answer)
{
    const Status status = openDocument(request);
    const std::uint64_t page = request.u64();
    const double resolution = request.f64();
    const SharedDescriptor file = request.descriptor();
    if (!request.finished()) return false;
    if (status.code != Status::Code::done) return answerStatus(answer, status);
    const auto raster = document_->render(page, resolution, true);
    if (!raster) return answerStatus(answer, {.code = Status::Code::noPage});
    const bool written =
        writePixels(file->get(), raster->height, static_cast<std::size_t>(raster->width) * 4,
                    [&](int row, std::span<std::uint8_t> pixels) {
                        const auto colors = raster->row(row);
                        for (std::size_t pixel = 0; pixel < pixels.size() / 4; ++pixel)
                            std::copy_n(colors.begin() + static_cast<std::ptrdiff_t>(pixel * 3), 3,
                                        pixels.begin() + static_cast<std::ptrdiff_t>(pixel * 4));
                    });
    if (!written) return answerFailure(answer, "no memory for the picture");
    wire::write(answer, Status());
    wire::writeShape(
        answer,
        {.width = raster->width, .height = raster->height, .resolution = raster->resolution});
    return true;
}

bool DocumentWork::write(WireReader& request, WireWriter& answer)
{
    const std::uint64_t number = request.u64();
    const Data received = request.document();
    // Where the document is open it is mapped already.
    const Data source = document_ && number == documentNumber_ ? source_ : received;
    const std::vector<PageTextLayer> layers = wire::readLayers(request);
    const DocumentInformation information = wire::readInformation(request);
    const SharedDescriptor output = request.descriptor();
    if (!request.finished()) return false;
    DescriptorOutput file(output->get());
    std::size_t copied = 0;
    const auto written =
        writeSearchablePDF(source, layers, information, [&](std::span<const std::uint8_t> bytes) {
            if ((copied += bytes.size()) >= releaseStep) {
                releasePages(source);
                copied = 0;
            }
            return file.write(bytes);
        });
    wire::write(answer, Status());
    answer.boolean(written.has_value());
    const PDFWriteError error = written ? PDFWriteError() : written.error();
    answer.u8(static_cast<std::uint8_t>(error.kind));
    answer.string(error.detail);
    return true;
}

bool DocumentWork::forget(WireReader& request, WireWriter& answer)
{
    if (!request.finished()) return false;
    closeDocument();
    pictureNumber_ = 0;
    recognizer_.clear();
    return answerStatus(answer, {});
}

} // namespace korvane
