// Does to a document what a worker does, inside the sandbox: reads and renders it, recognises the
// page, and writes it anew. Says what failed; the filter itself ends the process by SIGSYS.

#include "platform/base/FileDescriptor.h"
#include "platform/sandbox/Sandbox.h"

#include <fcntl.h>
#include <poppler/cpp/poppler-document.h>
#include <poppler/cpp/poppler-page-renderer.h>
#include <poppler/cpp/poppler-page.h>
#include <qpdf/qpdf-c.h>
#include <tesseract/baseapi.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <string_view>

namespace {

/** A page of a few large words, in two fonts of which none is embedded. */
std::string makeDocument()
{
    const std::string content = "BT /F1 40 Tf 72 700 Td (The quick brown fox) Tj"
                                " /F2 40 Tf 0 -80 Td (jumps over the lazy dog) Tj ET";
    const std::string objects[] = {
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents 4 0 R /Resources << /Font"
        " << /F1 << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"
        " /F2 << /Type /Font /Subtype /TrueType /BaseFont /Georgia >> >> >> >>",
        "<< /Length " + std::to_string(content.size()) + " >>\nstream\n" + content + "\nendstream",
    };
    std::string pdf = "%PDF-1.7\n";
    std::string table = "0000000000 65535 f \n";
    for (int number = 1; const std::string& object : objects) {
        const std::string offset = std::to_string(pdf.size());
        table += std::string(10 - offset.size(), '0') + offset + " 00000 n \n";
        pdf += std::to_string(number++) + " 0 obj\n" + object + "\nendobj\n";
    }
    return pdf + "xref\n0 5\n" + table + "trailer\n<< /Size 5 /Root 1 0 R >>\nstartxref\n" +
           std::to_string(pdf.size()) + "\n%%EOF\n";
}

int fail(const std::string& what)
{
    std::fprintf(stderr, "%s\n", what.c_str());
    return 1;
}

std::string recognise(const poppler::image& image)
{
    tesseract::TessBaseAPI recogniser;
    if (recogniser.Init(nullptr, "eng", tesseract::OEM_LSTM_ONLY) != 0) return {};
    recogniser.SetImage(reinterpret_cast<const unsigned char*>(image.const_data()), image.width(),
                        image.height(), 4, image.bytes_per_row());
    const std::unique_ptr<char[]> text(recogniser.GetUTF8Text());
    return text.get();
}

bool rewrite(const std::string& pdf, int output)
{
    qpdf_data document = qpdf_init();
    qpdf_read_memory(document, "document", pdf.data(), pdf.size(), nullptr);
    qpdf_init_write_memory(document);
    const bool isWritten =
        qpdf_write(document) == QPDF_SUCCESS &&
        ::write(output, qpdf_get_buffer(document), qpdf_get_buffer_length(document)) > 500;
    qpdf_cleanup(&document);
    return isWritten;
}

int readAndRewrite(const std::string& pdf, int output)
{
    const std::unique_ptr<poppler::document> document(
        poppler::document::load_from_raw_data(pdf.data(), static_cast<int>(pdf.size())));
    if (!document) return fail("the document was not read");
    const std::unique_ptr<poppler::page> page(document->create_page(0));
    const poppler::byte_array text = page->text().to_utf8();
    if (!std::string_view(text.data(), text.size()).starts_with("The quick brown fox"))
        return fail("its text was not read: character conversion does not work");
    poppler::page_renderer renderer;
    renderer.set_render_hint(poppler::page_renderer::text_antialiasing);
    const std::string words = recognise(renderer.render_page(page.get(), 150, 150));
    if (words.find("lazy dog") == std::string::npos) return fail("recognised: " + words);
    return rewrite(pdf, output) ? 0 : fail("it was not written");
}

} // namespace

int main()
{
    const korvane::FileDescriptor output(::open(P_tmpdir, O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (!output) return fail("no temporary file");
    if (const auto entered = korvane::enterSandbox(); !entered)
        return fail(entered.error().description());
    try {
        return readAndRewrite(makeDocument(), output.get());
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}
