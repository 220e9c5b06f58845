#include "platform/documents/WorkerDocument.h"

#include "platform/base/MemoryFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <exception>
#include <utility>

namespace korvane {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds stepLimit = 20s;
/** What is given to the writing even of a document that hung: what was read shall not be lost. */
constexpr std::chrono::milliseconds writingGranted = 5s;
/** Copying is given a second for so many bytes besides. */
constexpr std::size_t bytesCopiedInASecond = std::size_t{20} << 20;
constexpr std::size_t mostPixels = std::size_t{128} << 20;
constexpr std::size_t colorSize = 4;

std::atomic<std::uint64_t> picturesMade = 0;

DocumentError couldNotAsk(const SystemError& error)
{
    return {.kind = DocumentError::Kind::worker,
            .failure = {.kind = WorkerFailure::Kind::couldNotStart, .code = error.code}};
}

DocumentError noMemory()
{
    return {.kind = DocumentError::Kind::worker,
            .failure = {.kind = WorkerFailure::Kind::outOfMemory}};
}

DocumentError senseless()
{
    return {.kind = DocumentError::Kind::worker,
            .failure = {.kind = WorkerFailure::Kind::protocolBroken}};
}

DocumentError errorOf(const wire::Status& status)
{
    switch (status.code) {
    case wire::Status::Code::needsPassword: return {.kind = DocumentError::Kind::needsPassword};
    case wire::Status::Code::noPage: return {.kind = DocumentError::Kind::noPage};
    case wire::Status::Code::recognition:
        return {.kind = DocumentError::Kind::recognition, .detail = status.detail};
    case wire::Status::Code::notReadable:
    case wire::Status::Code::done: break;
    }
    return {.kind = DocumentError::Kind::notReadable};
}

FileDescriptor duplicate(int descriptor)
{
    return FileDescriptor(::fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
}

template <typename T>
DocumentAnswer<T> readAnswer(WorkerAnswer answer, const std::function<T(WireReader&)>& read)
{
    if (!answer)
        return failure(
            DocumentError{.kind = DocumentError::Kind::worker, .failure = answer.error()});
    WireReader reader(std::move(*answer));
    const wire::Status status = wire::readStatus(reader);
    if (reader.failed()) return failure(senseless());
    if (status.code != wire::Status::Code::done) return failure(errorOf(status));
    T value = read(reader);
    if (!reader.finished()) return failure(senseless());
    return value;
}

/** A worker's answer may be too much for us, too. */
template <typename T>
DocumentAnswer<T> readSafely(WorkerAnswer answer, const std::function<T(WireReader&)>& read)
{
    try {
        return readAnswer<T>(std::move(answer), read);
    } catch (const std::exception&) {
        return failure(noMemory());
    }
}

/** As many as were asked for; another count is not even made room for. */
template <typename T>
std::vector<T> readExactly(WireReader& in, std::size_t count, T (*read)(WireReader&))
{
    if (in.count() != count) in.fail();
    std::vector<T> list;
    while (list.size() < count && !in.failed()) list.push_back(read(in));
    return list;
}

/** The answer to a request that could not be made. */
template <typename T>
std::future<DocumentAnswer<T>> failed(DocumentError error)
{
    std::promise<DocumentAnswer<T>> promise;
    promise.set_value(failure(std::move(error)));
    return promise.get_future();
}

Result<void, PDFWriteError> writeAnswer(const DocumentAnswer<PDFWriteError>& answer, bool& written)
{
    using Kind = PDFWriteError::Kind;
    if (!answer)
        return failure(PDFWriteError{.kind = answer.error().kind == DocumentError::Kind::worker
                                                 ? Kind::workerFailed
                                                 : Kind::cannotOpenSource,
                                     .detail = answer.error().description()});
    if (!written) return failure(*answer);
    return {};
}

} // namespace

WorkerDocument::WorkerDocument(WorkerService& workers, const Data& pdf)
    : workers_(workers), job_(workers.makeJob()), pdf_(sealBytes(pdf))
{
}

WorkerDocument::~WorkerDocument()
{
    workers_.end(job_, static_cast<std::uint16_t>(wire::DocumentOperation::forget));
}

Result<WireWriter, DocumentError> WorkerDocument::documentRequest() const
{
    if (!pdf_) return failure(couldNotAsk(pdf_.error()));
    WireWriter request;
    request.u64(job_.number);
    request.document(*pdf_);
    return request;
}

Result<WireWriter, DocumentError> WorkerDocument::pictureRequest(const PagePicture& picture)
{
    WireWriter request;
    wire::writeShape(request, picture);
    request.descriptor(picture.pixels);
    return request;
}

std::chrono::milliseconds WorkerDocument::copyingTime() const
{
    return std::chrono::seconds(pdf_ ? pdf_->length / bytesCopiedInASecond : 0);
}

template <typename T>
std::future<DocumentAnswer<T>>
WorkerDocument::ask(wire::DocumentOperation operation, Result<WireWriter, DocumentError> request,
                    std::function<T(WireReader&)> read, std::shared_ptr<WorkTime> workTime)
{
    if (!request) return failed<T>(request.error());
    auto promise = std::make_shared<std::promise<DocumentAnswer<T>>>();
    auto answer = promise->get_future();
    WorkerRequest sent{.message = request->message(static_cast<std::uint16_t>(operation)),
                       .limit = stepLimit,
                       .workTime = std::move(workTime)};
    if (operation == wire::DocumentOperation::write) {
        sent.limit += copyingTime();
        sent.granted = writingGranted + copyingTime();
    }
    workers_.submit(job_, std::move(sent), [promise, read = std::move(read)](WorkerAnswer arrived) {
        promise->set_value(readSafely<T>(std::move(arrived), read));
    });
    return answer;
}

std::future<DocumentAnswer<std::size_t>> WorkerDocument::countPages()
{
    return ask<std::size_t>(wire::DocumentOperation::open, documentRequest(),
                            [](WireReader& in) { return in.u64(); });
}

std::future<DocumentAnswer<std::vector<PageInfo>>> WorkerDocument::readPages(std::size_t first,
                                                                             std::size_t count)
{
    auto request = documentRequest();
    if (request) {
        request->u64(first);
        request->u64(count);
    }
    return ask<std::vector<PageInfo>>(
        wire::DocumentOperation::readPages, std::move(request),
        [count](WireReader& in) { return readExactly<PageInfo>(in, count, wire::readPageInfo); });
}

std::future<DocumentAnswer<LaidOutPage>>
WorkerDocument::askForPicture(wire::DocumentOperation operation,
                              Result<WireWriter, DocumentError> request,
                              const std::shared_ptr<WorkTime>& workTime)
{
    SharedDescriptor pixels = share(makeMemoryFile(mostPixels));
    if (!*pixels) return failed<LaidOutPage>(couldNotAsk(SystemError::last()));
    const std::uint64_t id = ++picturesMade;
    if (request) {
        request->u64(id);
        request->descriptor(pixels);
    }
    return ask<LaidOutPage>(
        operation, std::move(request),
        [pixels = std::move(pixels), workTime, id](WireReader& in) {
            LaidOutPage page{.picture = wire::readShape(in)};
            page.picture.pixels = pixels;
            page.picture.workTime = workTime;
            page.lines = wire::readBoxes(in);
            if (page.picture.id != id) in.fail();
            return page;
        },
        workTime);
}

std::future<DocumentAnswer<LaidOutPage>> WorkerDocument::layOut(std::size_t page, double resolution)
{
    auto request = documentRequest();
    if (request) {
        request->u64(page);
        request->f64(resolution);
    }
    return askForPicture(wire::DocumentOperation::layOut, std::move(request),
                         std::make_shared<WorkTime>());
}

std::future<DocumentAnswer<LaidOutPage>> WorkerDocument::turn(const PagePicture& picture,
                                                              int quarterTurns)
{
    auto request = pictureRequest(picture);
    if (request) request->u8(static_cast<std::uint8_t>(quarterTurns));
    return askForPicture(wire::DocumentOperation::turn, std::move(request), picture.workTime);
}

std::future<DocumentAnswer<std::vector<RecognizedLine>>>
WorkerDocument::recognize(const PagePicture& picture, std::vector<PixelBox> lines,
                          std::string language)
{
    auto request = pictureRequest(picture);
    if (request) {
        wire::write(*request, lines);
        request->string(language);
    }
    return ask<std::vector<RecognizedLine>>(
        wire::DocumentOperation::recognize, std::move(request),
        [count = lines.size()](WireReader& in) {
            return readExactly<RecognizedLine>(in, count, wire::readLine);
        },
        picture.workTime);
}

std::future<DocumentAnswer<PageOrientation>> WorkerDocument::orientation(const PagePicture& picture)
{
    return ask<PageOrientation>(wire::DocumentOperation::orientation, pictureRequest(picture),
                                wire::readOrientation, picture.workTime);
}

DocumentAnswer<Data> WorkerDocument::render(std::size_t page, double resolution)
{
    struct Size {
        std::uint64_t width = 0;
        std::uint64_t height = 0;
    };
    const SharedDescriptor pixels = share(makeMemoryFile(mostPixels * colorSize));
    if (!*pixels) return failure(couldNotAsk(SystemError::last()));
    auto request = documentRequest();
    if (request) {
        request->u64(page);
        request->f64(resolution);
        request->descriptor(pixels);
    }
    const auto size =
        ask<Size>(wire::DocumentOperation::render, std::move(request), [](WireReader& in) {
            const PagePicture shape = wire::readShape(in);
            return Size{static_cast<std::uint64_t>(shape.width),
                        static_cast<std::uint64_t>(shape.height)};
        }).get();
    if (!size) return failure(size.error());
    std::vector<std::uint8_t> bytes(size->width * size->height * colorSize);
    std::size_t filled = 0;
    while (filled < bytes.size()) {
        const ssize_t count = ::pread(pixels->get(), bytes.data() + filled, bytes.size() - filled,
                                      static_cast<off_t>(filled));
        if (count <= 0) return failure(senseless());
        filled += static_cast<std::size_t>(count);
    }
    return Data(std::move(bytes));
}

Result<void, PDFWriteError> WorkerDocument::write(const std::vector<PageTextLayer>& layers,
                                                  const DocumentInformation& information,
                                                  int output)
{
    auto request = documentRequest();
    if (request) {
        wire::write(*request, layers);
        wire::write(*request, information);
        request->descriptor(share(duplicate(output)));
    }
    bool written = false;
    const auto answer = ask<PDFWriteError>(wire::DocumentOperation::write, std::move(request),
                                           [&written](WireReader& in) {
                                               written = in.boolean();
                                               PDFWriteError error;
                                               const std::uint8_t kind = in.u8();
                                               if (kind > static_cast<std::uint8_t>(
                                                              PDFWriteError::Kind::workerFailed))
                                                   in.fail();
                                               error.kind = static_cast<PDFWriteError::Kind>(kind);
                                               error.detail = in.string();
                                               return error;
                                           })
                            .get();
    return writeAnswer(answer, written);
}

} // namespace korvane
