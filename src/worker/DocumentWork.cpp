#include "worker/DocumentWork.h"

#include "base/DescriptorOutput.h"
#include "base/DocumentMapping.h"
#include "base/ProcessorTime.h"
#include "lib/cld2/LanguageDetector.h"
#include "lib/qpdf/SearchablePDFWriter.h"
#include "worker/MappedSource.h"
#include "worker/WellFormed.h"

#include <algorithm>
#include <new>
#include <utility>

namespace korvane {

namespace {

using std::chrono::milliseconds;
using Kind = DocumentError::Kind;

/** While a document is copied, its pages of memory are released after so many bytes. */
constexpr std::size_t releaseStep = std::size_t{16} << 20;

/** When recognition that began at `start` is to end with what it has: early enough for the answer
 *  to be sent before the limit, whatever the engine is doing then. */
milliseconds recognitionTime(milliseconds start, milliseconds limit)
{
    const milliseconds rendering = processorTime() - start;
    return std::max(limit * 5 / 8 - rendering, limit / 8);
}

} // namespace

void DocumentWork::serve(RequestTable& table)
{
    const auto on =
        [&]<typename Request, typename... Limit>(DocumentAnswer<typename Request::Answer> (
            DocumentWork::*function)(const Request&, Limit...)) {
            table.on<Request>([this, function](const Request& request, Limit... limit) {
                auto answer = (this->*function)(request, limit...);
                // What was read of the document must not add up page by page.
                releasePages(source_);
                return answer;
            });
        };
    on(&DocumentWork::listLanguages);
    on(&DocumentWork::open);
    on(&DocumentWork::readPages);
    on(&DocumentWork::recognizePage);
    on(&DocumentWork::write);
    on(&DocumentWork::release);
}

DocumentAnswer<requests::ListLanguages::Answer>
DocumentWork::listLanguages(const requests::ListLanguages& /*request*/)
{
    return requests::ListLanguages::Answer{recognizer_.languages()};
}

bool DocumentWork::hasOpen(const requests::SourceDocument& document) const
{
    return document_ && document.number == documentNumber_;
}

DocumentWork::Status DocumentWork::openDocument(const requests::SourceDocument& document)
{
    if (hasOpen(document)) return {};
    closeDocument();
    auto bytes = mapSource(document.content);
    if (!bytes) return failure(std::move(bytes).error());
    auto opened = PDFReader::open(*bytes);
    if (!opened)
        return failure(DocumentError{.kind = opened.error() == PDFReader::Failure::needsPassword
                                                 ? Kind::needsPassword
                                                 : Kind::notReadable});
    source_ = *std::move(bytes);
    document_ = std::move(*opened);
    documentNumber_ = document.number;
    return {};
}

void DocumentWork::closeDocument()
{
    loadedPage_.reset();
    document_.reset();
    source_ = Data();
}

DocumentAnswer<requests::OpenDocument::Answer>
DocumentWork::open(const requests::OpenDocument& request)
{
    return openDocument(request.document).map([&] {
        return requests::OpenDocument::Answer{document_->pageCount()};
    });
}

DocumentAnswer<requests::ReadPages::Answer>
DocumentWork::readPages(const requests::ReadPages& request)
{
    if (const Status status = openDocument(request.document); !status)
        return failure(status.error());
    requests::ReadPages::Answer answer;
    for (std::uint64_t page = request.first; page < request.first + request.count; ++page) {
        PageInfo info =
            page < document_->pageCount() ? document_->readPage(page) : PageInfo{.exists = false};
        info.text = wellFormed(info.text, bounds::pageText);
        answer.pages.push_back(std::move(info));
    }
    return answer;
}

/** The same page in another language is not rendered again. */
DocumentWork::Status DocumentWork::loadPage(const requests::RecognizePage& request)
{
    const LoadedPage wanted{.document = request.document.number,
                            .page = request.page,
                            .resolution = request.resolution};
    if (const Status status = openDocument(request.document); !status || loadedPage_ == wanted)
        return status;
    loadedPage_.reset();
    const auto bitmap = document_->render(request.page, request.resolution);
    if (!bitmap) return failure(DocumentError{.kind = Kind::noPage});
    if (!recognizer_.load(bitmap->size, bitmap->row)) throw std::bad_alloc();
    loadedPage_ = wanted;
    return {};
}

DocumentAnswer<PageReading> DocumentWork::recognizePage(const requests::RecognizePage& request,
                                                        milliseconds limit)
{
    const milliseconds start = processorTime();
    if (const Status status = loadPage(request); !status) return failure(status.error());
    auto reading = recognizer_.recognize(request.language, recognitionTime(start, limit));
    if (!reading)
        return failure(DocumentError{.kind = Kind::recognition,
                                     .detail = wellFormed(reading.error(), bounds::detail)});
    makeWellFormed(*reading);
    reading->likelyLanguages = detectLanguages(textOf(*reading));
    return *std::move(reading);
}

DocumentAnswer<requests::WriteDocument::Answer>
DocumentWork::write(const requests::WriteDocument& request)
{
    // Where the document is open it is mapped already.
    const auto source = hasOpen(request.document) ? DocumentAnswer<Data>(source_)
                                                  : mapSource(request.document.content);
    if (!source) return failure(source.error());
    DescriptorOutput file(request.output->get());
    std::size_t copied = 0;
    auto written = writeSearchablePDF(*source, request.layers, request.information,
                                      [&](std::span<const std::uint8_t> bytes) {
                                          if ((copied += bytes.size()) >= releaseStep) {
                                              releasePages(*source);
                                              copied = 0;
                                          }
                                          return file.write(bytes);
                                      });
    if (written) return requests::WriteDocument::Answer();
    written.error().detail = wellFormed(written.error().detail, bounds::detail);
    return requests::WriteDocument::Answer{std::move(written).error()};
}

DocumentAnswer<requests::Nothing>
DocumentWork::release(const requests::ReleaseDocument& /*request*/)
{
    closeDocument();
    recognizer_.clear();
    return requests::Nothing();
}

} // namespace korvane
