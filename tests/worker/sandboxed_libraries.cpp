// Does to a document what a worker does, inside the sandbox: reads and renders it, to the same
// result as outside, recognises the page, and writes it anew. Says what failed; the filter itself
// ends the process by SIGSYS.

#include "platform/base/FileDescriptor.h"
#include "platform/sandbox/Sandbox.h"
#include "support/TestPDF.h"

#include <fcntl.h>
#include <poppler/cpp/poppler-document.h>
#include <poppler/cpp/poppler-page-renderer.h>
#include <poppler/cpp/poppler-page.h>
#include <qpdf/qpdf-c.h>
#include <tesseract/baseapi.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace {

/** A page of a few large words, in fonts of which none is embedded. Two of them are read by tables
 * of Chinese and Japanese characters that lie beside the fonts. */
std::string makeDocument()
{
    const auto wide = [](const std::string& name, const std::string& encoding,
                         const std::string& ordering) {
        return "<< /Type /Font /Subtype /Type0 /BaseFont /" + name + " /Encoding /" + encoding +
               " /DescendantFonts [<< /Type /Font /Subtype /CIDFontType0 /BaseFont /" + name +
               " /CIDSystemInfo << /Registry (Adobe) /Ordering (" + ordering +
               ") /Supplement 2 >> >>] >>";
    };
    return korvane::makePDF({
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents 4 0 R /Resources << /Font"
        " << /F1 << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"
        " /F2 << /Type /Font /Subtype /TrueType /BaseFont /Georgia >>"
        " /F3 << /Type /Font /Subtype /Type1 /BaseFont /Times-Roman >>"
        " /F4 " +
            wide("HeiseiMin-W3", "UniJIS-UTF16-H", "Japan1") + " /F5 " +
            wide("MSung-Light", "ETen-B5-H", "CNS1") + " >> >> >>",
        korvane::pdfStream("BT /F1 40 Tf 72 700 Td (The quick brown fox) Tj"
                           " /F2 40 Tf 0 -80 Td (jumps over the lazy dog) Tj"
                           " /F3 40 Tf 0 -80 Td (Times) Tj"
                           " /F4 40 Tf 0 -80 Td <65E5672C00480069> Tj"
                           " /F5 40 Tf 0 -80 Td <A4A4A4E5> Tj ET"),
    });
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

struct Page {
    std::string text;
    poppler::image picture;

    /** The same for pages that look and read the same. */
    std::size_t fingerprint() const
    {
        const auto size = static_cast<std::size_t>(picture.bytes_per_row()) *
                          static_cast<std::size_t>(picture.height());
        return std::hash<std::string_view>()({picture.const_data(), size}) ^
               std::hash<std::string>()(text);
    }
};

Page readPage(const std::string& pdf)
{
    const std::unique_ptr<poppler::document> document(
        poppler::document::load_from_raw_data(pdf.data(), static_cast<int>(pdf.size())));
    if (!document) return {};
    const std::unique_ptr<poppler::page> page(document->create_page(0));
    const poppler::byte_array text = page->text().to_utf8();
    poppler::page_renderer renderer;
    renderer.set_render_hint(poppler::page_renderer::text_antialiasing);
    return {.text = std::string(text.begin(), text.end()),
            .picture = renderer.render_page(page.get(), 150, 150)};
}

/** What a process without bounds sees: a child, so that this one has read nothing yet. */
std::size_t fingerprintOutside(const std::string& pdf)
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) return 0;
    const korvane::FileDescriptor from(ends[0]);
    korvane::FileDescriptor into(ends[1]);
    if (::fork() == 0) {
        const std::size_t seen = readPage(pdf).fingerprint();
        ::_exit(::write(into.get(), &seen, sizeof seen) == sizeof seen ? 0 : 1);
    }
    into = {};
    std::size_t seen = 0;
    return ::read(from.get(), &seen, sizeof seen) == sizeof seen ? seen : 0;
}

int readAndRewrite(const std::string& pdf, std::size_t expected, int output)
{
    const Page page = readPage(pdf);
    for (const char* words : {"The quick brown fox", "Times", "日本Hi", "中文"}) {
        if (page.text.find(words) == std::string::npos) return fail("read: " + page.text);
    }
    if (page.fingerprint() != expected) return fail("it does not look as it does outside");
    const std::string words = recognise(page.picture);
    if (words.find("lazy dog") == std::string::npos) return fail("recognised: " + words);
    return rewrite(pdf, output) ? 0 : fail("it was not written");
}

} // namespace

int main()
{
    const korvane::FileDescriptor output(::open(P_tmpdir, O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (!output) return fail("no temporary file");
    const std::string pdf = makeDocument();
    const std::size_t outside = fingerprintOutside(pdf);
    if (const auto entered = korvane::enterSandbox(); !entered)
        return fail(entered.error().description());
    try {
        return readAndRewrite(pdf, outside, output.get());
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}
