#include "support/RasterPDFReader.h"

#include <fmt/format.h>
#include <zlib.h>

#include <stdexcept>
#include <string_view>

namespace korvane::test {

namespace {

using Bytes = std::vector<std::uint8_t>;

class Reader {
public:
    explicit Reader(std::string_view pdf) : pdf_(pdf)
    {
        check(pdf.starts_with("%PDF-1.") && pdf.ends_with("%%EOF\n"), "frame");
        const std::string_view trailer = pdf.substr(pdf.rfind("trailer"));
        table_ = pdf.substr(number(valueAfter(trailer, "startxref")));
        const std::size_t size = number(valueAfter(trailer, "/Size"));
        const std::string head = fmt::format("xref\n0 {}\n0000000000 65535 f \n", size);
        check(table_.starts_with(head), "cross-reference table");
        table_.remove_prefix(head.size() - 20);
        check(table_.substr(20 * size).starts_with("trailer"), "table size");
        catalog_ = number(valueAfter(trailer, "/Root"));
    }

    std::vector<RasterPDFPage> pages() const
    {
        const std::string_view tree = reference(object(catalog_), "/Pages");
        std::vector<RasterPDFPage> pages;
        std::string_view kids = valueAfter(tree, "/Kids");
        for (kids.remove_prefix(1); !kids.starts_with(']');
             kids = kids.substr(kids.find('R') + 1)) {
            if (kids.find_first_of("0123456789") > kids.find(']')) break;
            pages.push_back(page(object(number(kids))));
        }
        check(number(valueAfter(tree, "/Count")) == pages.size(), "page count");
        return pages;
    }

private:
    static void check(bool right, std::string_view what)
    {
        if (!right) throw std::runtime_error(fmt::format("wrong PDF: {}", what));
    }

    static std::string_view valueAfter(std::string_view text, std::string_view key)
    {
        const std::size_t at = text.find(key);
        check(at != std::string_view::npos, key);
        return text.substr(text.find_first_not_of(" \n", at + key.size()));
    }

    static std::size_t number(std::string_view text)
    {
        return std::stoull(std::string(text.substr(0, 24)));
    }

    std::string_view object(std::size_t number) const
    {
        const std::size_t offset = Reader::number(table_.substr(20 * number));
        const std::string head = fmt::format("{} 0 obj\n", number);
        check(pdf_.substr(offset).starts_with(head), head);
        return pdf_.substr(offset + head.size());
    }

    std::string_view reference(std::string_view from, std::string_view key) const
    {
        return object(number(valueAfter(from, key)));
    }

    static Bytes inflate(std::string_view compressed, std::size_t largest)
    {
        Bytes content(largest);
        uLongf size = largest;
        uLong used = compressed.size();
        const int result = uncompress2(content.data(), &size,
                                       reinterpret_cast<const Bytef*>(compressed.data()), &used);
        check(result == Z_OK && used == compressed.size(), "Flate stream");
        content.resize(size);
        return content;
    }

    static Bytes expandRuns(const Bytes& coded)
    {
        Bytes content;
        std::size_t at = 0;
        for (; coded.at(at) != 128;) {
            const std::size_t code = coded[at++];
            for (std::size_t count = code < 128 ? code + 1 : 257 - code; count > 0; --count) {
                content.push_back(coded.at(at));
                if (code < 128) ++at;
            }
            if (code > 128) ++at;
        }
        check(at + 1 == coded.size(), "end of run-length data");
        return content;
    }

    RasterPDFPage page(std::string_view page) const
    {
        const std::string_view image = reference(page, "/Im0");
        const std::string_view dictionary = image.substr(0, image.find("stream\n"));
        RasterPDFPage result;
        const std::string_view box = valueAfter(page, "/MediaBox");
        result.mediaBox = box.substr(0, box.find(']') + 1);
        const std::string_view filter = valueAfter(dictionary, "/Filter");
        result.filter = filter.substr(0, filter.find(" /Length"));
        const std::string_view colorSpace = reference(dictionary, "/ColorSpace");
        result.colorSpace = colorSpace.substr(0, colorSpace.find('\n'));
        const std::size_t components = number(valueAfter(reference(colorSpace, "/ICCBased"), "/N"));
        check(number(valueAfter(dictionary, "/BitsPerComponent")) == 8, "depth");
        check(valueAfter(dictionary, "/Interpolate").starts_with("true"), "interpolation");

        result.raster.width = static_cast<std::uint32_t>(number(valueAfter(dictionary, "/Width")));
        result.raster.height =
            static_cast<std::uint32_t>(number(valueAfter(dictionary, "/Height")));
        result.raster.bytesPerPixel = components;
        const std::size_t size = result.raster.rowSize() * result.raster.height;
        const std::size_t length = number(valueAfter(dictionary, "/Length"));
        const std::string_view stream = image.substr(dictionary.size() + 7);
        check(stream.substr(length).starts_with("\nendstream\nendobj"), "stream length");
        result.raster.pixels = inflate(stream.substr(0, length), 2 * size + 2);
        if (result.filter != "/FlateDecode") {
            result.raster.pixels = expandRuns(result.raster.pixels);
        }
        check(result.raster.pixels.size() == size, "image size");
        return result;
    }

    std::string_view pdf_;
    std::string_view table_;
    std::size_t catalog_ = 0;
};

} // namespace

std::vector<RasterPDFPage> readRasterPDF(const Data& pdf)
{
    return Reader(pdf.text()).pages();
}

} // namespace korvane::test
