#include "lib/qpdf/PDFCopy.h"

#include "lib/qpdf/DocumentSafety.h"
#include "lib/qpdf/SinkPipeline.h"

#include <cstddef>
#include <exception>
#include <new>
#include <set>
#include <utility>

namespace korvane {

namespace {

using Kind = PDFWriteError::Kind;

void open(QPDF& pdf, const Data& source)
{
    const auto silent = QPDFLogger::create();
    silent->setInfo(silent->discard());
    silent->setWarn(silent->discard());
    silent->setError(silent->discard());
    pdf.setLogger(silent);
    pdf.setSuppressWarnings(true);
    const std::string_view bytes = source.text();
    pdf.processMemoryFile("", bytes.data(), bytes.size());
}

/** Leaves what the standard knows (ISO 32000-1, 7.5.5); QPDF writes the size only where it finds
 *  one, and keeps all else that a repair may have taken for an entry. */
void tidyTrailer(QPDF& pdf)
{
    QPDFObjectHandle trailer = pdf.getTrailer();
    const std::set<std::string> known = {"/Root", "/Encrypt", "/Info", "/ID"};
    for (const std::string& key : trailer.getKeys()) {
        if (!known.contains(key)) trailer.removeKey(key);
    }
    trailer.replaceKey("/Size", QPDFObjectHandle::newInteger(0));
}

Result<void, PDFWriteError> write(QPDF& pdf, const PDFSink& sink)
{
    SinkPipeline output(sink);
    QPDFWriter writer(pdf);
    writer.setOutputPipeline(&output);
    writer.setDecodeLevel(qpdf_dl_none);
    writer.setObjectStreamMode(qpdf_o_preserve);
    writer.setMinimumPDFVersion("1.3");
    const std::size_t warnings = pdf.numWarnings();
    writer.write();
    if (pdf.numWarnings() != warnings) return cannotOpen("the file is damaged");
    return output.close().map_error([](const SystemError& error) {
        return PDFWriteError{Kind::cannotWrite, error.description()};
    });
}

Result<void, PDFWriteError> copy(QPDF& pdf, const PDFEdit& edit, const PDFSink& sink)
{
    const auto pages = readPages(pdf);
    if (!pages) return failure(pages.error());
    if (!readObjects(pdf)) return cannotOpen("too many objects or too damaged");
    if (isSigned(pdf)) return failure(PDFWriteError{Kind::sourceIsSigned, ""});
    keepStreams(pdf);
    tidyTrailer(pdf);
    if (auto edited = edit(pdf, *pages); !edited) return edited;
    return write(pdf, sink);
}

} // namespace

tl::unexpected<PDFWriteError> cannotOpen(std::string why)
{
    return failure(PDFWriteError{Kind::cannotOpenSource, std::move(why)});
}

Result<void, PDFWriteError> copyPDF(const Data& source, const PDFEdit& edit, const PDFSink& sink)
{
    try {
        QPDF pdf;
        open(pdf, source);
        return copy(pdf, edit, sink);
    } catch (const std::bad_alloc&) {
        return cannotOpen("it takes too much memory");
    } catch (const QPDFExc& exception) {
        return cannotOpen(exception.getMessageDetail());
    } catch (const std::exception& exception) {
        return cannotOpen(exception.what());
    }
}

} // namespace korvane
