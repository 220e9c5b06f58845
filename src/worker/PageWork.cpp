#include "worker/PageWork.h"

#include "base/DescriptorOutput.h"
#include "base/DocumentMapping.h"
#include "lib/qpdf/PageSelection.h"
#include "recognition/DocumentRequests.h"
#include "worker/MappedSource.h"
#include "worker/WellFormed.h"

namespace korvane {

namespace {

using Kind = DocumentError::Kind;

DocumentAnswer<requests::SelectPages::Answer> select(const requests::SelectPages& request)
{
    const auto pdf = mapSource(request.pdf);
    if (!pdf) return failure(pdf.error());
    DescriptorOutput file(request.output->get());
    requests::SelectPages::Answer answer;
    SystemError writeError;
    const auto written =
        writeSelectedPages(*pdf, request.pages, [&](std::span<const std::uint8_t> bytes) {
            // What was copied must not add up.
            releasePages(*pdf);
            answer.length += bytes.size();
            return file.write(bytes).map_error(
                [&](const SystemError& error) { return writeError = error; });
        });
    if (written) return answer;
    if (written.error().kind == PDFWriteError::Kind::cannotWrite)
        return failure(DocumentError{.kind = Kind::cannotWrite, .system = writeError});
    return failure(DocumentError{.kind = Kind::conversion,
                                 .detail = wellFormed(written.error().detail, bounds::detail)});
}

} // namespace

void servePages(RequestTable& table)
{
    table.on<requests::SelectPages>(select);
}

} // namespace korvane
