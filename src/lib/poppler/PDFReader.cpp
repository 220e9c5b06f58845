#include "lib/poppler/PDFReader.h"

#include <poppler-document.h>
#include <poppler-global.h>
#include <poppler-page-renderer.h>
#include <poppler-page.h>

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

namespace korvane {

namespace {

constexpr double pointsPerInch = 72;
constexpr double maxPixels = 100e6;
/** Splash counts rows and columns in ints and multiplies them by a few bytes. */
constexpr double maxSide = 60'000;

int quarterTurns(const poppler::page& page)
{
    switch (page.orientation()) {
    case poppler::page::landscape: return 1;
    case poppler::page::upside_down: return 2;
    case poppler::page::seascape: return 3;
    case poppler::page::portrait: break;
    }
    return 0;
}

struct Point {
    double x = 0;
    double y = 0;
};

/** The offset of the visible box in the media box, between their upper left corners as shown. */
Point offsetAsShown(const poppler::rectf& media, const poppler::rectf& visible, int turns)
{
    const double left = visible.left() - media.left();
    const double right = media.right() - visible.right();
    // Poppler's rectangles have their first y coordinate below.
    const double below = visible.top() - media.top();
    const double above = media.bottom() - visible.bottom();
    switch (turns) {
    case 1: return {below, left};
    case 2: return {right, below};
    case 3: return {above, right};
    default: return {left, above};
    }
}

/** The wanted resolution, or the largest at which the bitmap is within its bounds. */
double fittingResolution(double width, double height, double wanted)
{
    const double inches = (width / pointsPerInch) * (height / pointsPerInch);
    const double longest = std::max(width, height) / pointsPerInch;
    double fitting = wanted;
    if (inches * wanted * wanted > maxPixels) fitting = std::sqrt(maxPixels / inches);
    return std::min(fitting, maxSide / longest);
}

/** Whether an object begins somewhere near the document's start. Where the cross-references are
 *  damaged, Poppler looks through the whole document for objects, which takes seconds for one of
 *  half a gigabyte; where the first of them is so far away there are none. */
bool hasObjects(std::string_view pdf)
{
    constexpr std::size_t window = std::size_t{16} << 20;
    constexpr std::string_view keyword = "obj";
    constexpr std::string_view space(" \t\r\n\f\0", 6);
    const std::string_view start = pdf.substr(0, window);
    for (std::size_t at = start.find(keyword, 2); at != std::string_view::npos;
         at = start.find(keyword, at + 1)) {
        const char before = start[at - 2];
        if (space.find(start[at - 1]) != std::string_view::npos &&
            ((before >= '0' && before <= '9') || space.find(before) != std::string_view::npos))
            return true;
    }
    return false;
}

} // namespace

PDFReader::PDFReader(Data pdf, std::unique_ptr<poppler::document> document)
    : pdf_(std::move(pdf)), document_(std::move(document))
{
}

PDFReader::PDFReader(PDFReader&&) noexcept = default;
PDFReader& PDFReader::operator=(PDFReader&&) noexcept = default;
PDFReader::~PDFReader() = default;

Result<PDFReader, PDFReader::Failure> PDFReader::open(Data pdf)
{
    // Poppler would report every error of the document on standard error.
    poppler::set_debug_error_function([](const std::string&, void*) {}, nullptr);
    const auto bytes = pdf.bytes();
    if (bytes.size() > static_cast<std::size_t>(INT32_MAX) || !hasObjects(pdf.text()))
        return failure(Failure::notReadable);
    std::unique_ptr<poppler::document> document(poppler::document::load_from_raw_data(
        reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size())));
    if (!document) return failure(Failure::notReadable);
    if (document->is_locked()) return failure(Failure::needsPassword);
    return PDFReader(std::move(pdf), std::move(document));
}

std::size_t PDFReader::pageCount() const
{
    return static_cast<std::size_t>(std::max(document_->pages(), 0));
}

PageInfo PDFReader::readPage(std::size_t page) const
{
    const std::unique_ptr<poppler::page> source(document_->create_page(static_cast<int>(page)));
    if (!source) return {.exists = false};
    const poppler::rectf box = source->page_rect(poppler::media_box);
    const auto text = source->text({}, poppler::page::non_raw_non_physical_layout).to_utf8();
    return {.mediaBox = {.x = box.x(), .y = box.y(), .width = box.width(), .height = box.height()},
            .text = std::string(text.begin(), text.end())};
}

std::optional<PDFReader::Bitmap> PDFReader::render(std::size_t page, double resolution) const
{
    const std::unique_ptr<poppler::page> source(document_->create_page(static_cast<int>(page)));
    if (!source) return std::nullopt;
    const poppler::rectf media = source->page_rect(poppler::media_box);
    const int turns = quarterTurns(*source);
    double width = media.width();
    double height = media.height();
    if (turns % 2 != 0) std::swap(width, height);
    if (!(width > 0) || !(height > 0)) return std::nullopt;

    const double fitting = fittingResolution(width, height, resolution);
    const double scale = fitting / pointsPerInch;
    const auto columns = static_cast<int>(std::lround(width * scale));
    const auto rows = static_cast<int>(std::lround(height * scale));
    if (columns < 1 || rows < 1) return std::nullopt;

    poppler::page_renderer renderer;
    renderer.set_render_hint(poppler::page_renderer::antialiasing);
    renderer.set_render_hint(poppler::page_renderer::text_antialiasing);
    renderer.set_image_format(poppler::image::format_gray8);
    const Point offset = offsetAsShown(media, source->page_rect(poppler::crop_box), turns);
    auto image = std::make_shared<poppler::image>(renderer.render_page(
        source.get(), fitting, fitting, static_cast<int>(-std::lround(offset.x * scale)),
        static_cast<int>(-std::lround(offset.y * scale)), columns, rows));
    if (!image->is_valid() || image->width() != columns || image->height() != rows)
        return std::nullopt;
    return Bitmap{
        .size = {.width = columns, .height = rows, .resolution = fitting}, .row = [image](int row) {
            const char* const start =
                image->const_data() + static_cast<std::ptrdiff_t>(row) * image->bytes_per_row();
            return std::span(reinterpret_cast<const std::uint8_t*>(start),
                             static_cast<std::size_t>(image->width()));
        }};
}

} // namespace korvane
