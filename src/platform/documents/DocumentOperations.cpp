#include "platform/documents/DocumentOperations.h"

#include "platform/text/Text.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace korvane::wire {

namespace {

constexpr std::int64_t mostPixels = 128'000'000;
/** No line on paper is as long. */
constexpr std::size_t mostLineText = 16'384;
/** More lines than a page has. */
constexpr std::size_t mostBoxes = 4000;
constexpr std::size_t boxSize = 4 * sizeof(std::int32_t);

/** A number that is none, or out of every reasonable range, makes the message senseless. */
double readNumber(WireReader& in, double least, double most)
{
    const double number = in.f64();
    if (!(number >= least && number <= most)) in.fail();
    return in.failed() ? 0 : number;
}

double readCoordinate(WireReader& in)
{
    constexpr double most = 1e9;
    return readNumber(in, -most, most);
}

/** Text from documents goes to places that take well-formed UTF-8 only. */
std::string readText(WireReader& in)
{
    std::string text = in.string();
    if (!text::isWellFormedUTF8(text)) in.fail();
    return text;
}

int readQuarterTurns(WireReader& in)
{
    const int turns = in.u8();
    if (turns > 3) in.fail();
    return turns % 4;
}

} // namespace

void write(WireWriter& out, const Status& status)
{
    out.u8(static_cast<std::uint8_t>(status.code));
    out.string(status.detail);
}

Status readStatus(WireReader& in)
{
    const std::uint8_t code = in.u8();
    std::string detail = in.string();
    if (code > static_cast<std::uint8_t>(Status::Code::recognition)) in.fail();
    return {.code = static_cast<Status::Code>(code), .detail = std::move(detail)};
}

void write(WireWriter& out, const PageInfo& page)
{
    out.boolean(page.exists);
    out.f64(page.mediaBox.x);
    out.f64(page.mediaBox.y);
    out.f64(page.mediaBox.width);
    out.f64(page.mediaBox.height);
    out.u8(static_cast<std::uint8_t>(page.rotation));
    out.string(page.text);
}

PageInfo readPageInfo(WireReader& in)
{
    PageInfo page;
    page.exists = in.boolean();
    page.mediaBox.x = readCoordinate(in);
    page.mediaBox.y = readCoordinate(in);
    page.mediaBox.width = readCoordinate(in);
    page.mediaBox.height = readCoordinate(in);
    page.rotation = readQuarterTurns(in);
    page.text = readText(in);
    return page;
}

void write(WireWriter& out, const std::vector<PixelBox>& boxes)
{
    out.count(boxes.size());
    for (const PixelBox& box : boxes) {
        out.i32(box.left);
        out.i32(box.top);
        out.i32(box.right);
        out.i32(box.bottom);
    }
}

std::vector<PixelBox> readBoxes(WireReader& in)
{
    const std::size_t count = in.count(boxSize);
    if (count > mostBoxes) in.fail();
    std::vector<PixelBox> boxes(in.failed() ? 0 : count);
    for (PixelBox& box : boxes) {
        box.left = in.i32();
        box.top = in.i32();
        box.right = in.i32();
        box.bottom = in.i32();
        // Boxes lie in a picture; what does not could overflow in sums and differences.
        const auto [least, most] = std::minmax({box.left, box.top, box.right, box.bottom});
        if (least < 0 || most > (1 << 24) || box.right < box.left || box.bottom < box.top)
            in.fail();
    }
    return boxes;
}

void write(WireWriter& out, const RecognizedLine& line)
{
    out.string(line.text);
    out.f64(line.confidence);
    out.i32(line.words);
    out.i32(line.dictionaryWords);
}

RecognizedLine readLine(WireReader& in)
{
    RecognizedLine line;
    line.text = readText(in);
    if (line.text.size() > mostLineText) in.fail();
    line.confidence = readNumber(in, 0, 100);
    line.words = in.i32();
    line.dictionaryWords = in.i32();
    if (line.dictionaryWords < 0 || line.words < line.dictionaryWords) in.fail();
    return line;
}

void write(WireWriter& out, const PageOrientation& orientation)
{
    out.u8(static_cast<std::uint8_t>(orientation.quarterTurns));
    out.f64(orientation.confidence);
    out.string(orientation.script);
    out.f64(orientation.scriptConfidence);
}

PageOrientation readOrientation(WireReader& in)
{
    PageOrientation orientation;
    orientation.quarterTurns = readQuarterTurns(in);
    orientation.confidence = readCoordinate(in);
    orientation.script = in.string();
    orientation.scriptConfidence = readCoordinate(in);
    return orientation;
}

void write(WireWriter& out, const std::vector<PageTextLayer>& layers)
{
    out.count(layers.size());
    for (const PageTextLayer& layer : layers) {
        out.u8(static_cast<std::uint8_t>(layer.quarterTurns));
        out.count(layer.lines.size());
        for (const TextLine& line : layer.lines) {
            out.string(line.text);
            out.f64(line.x);
            out.f64(line.baseline);
            out.f64(line.fontSize);
        }
    }
}

std::vector<PageTextLayer> readLayers(WireReader& in)
{
    std::vector<PageTextLayer> layers(in.count(2));
    for (PageTextLayer& layer : layers) {
        layer.quarterTurns = readQuarterTurns(in);
        layer.lines.resize(in.count(4 * sizeof(double)));
        for (TextLine& line : layer.lines) {
            line.text = in.string();
            line.x = readCoordinate(in);
            line.baseline = readCoordinate(in);
            line.fontSize = readCoordinate(in);
        }
    }
    return layers;
}

void write(WireWriter& out, const DocumentInformation& information)
{
    out.count(information.size());
    for (const auto& [key, text] : information) {
        out.string(key);
        out.string(text);
    }
}

DocumentInformation readInformation(WireReader& in)
{
    DocumentInformation information;
    for (std::size_t left = in.count(2); left > 0 && !in.failed(); --left) {
        std::string key = in.string();
        information[std::move(key)] = in.string();
    }
    return information;
}

void writeShape(WireWriter& out, const PagePicture& picture)
{
    out.u64(picture.id);
    out.i32(picture.width);
    out.i32(picture.height);
    out.f64(picture.resolution);
}

PagePicture readShape(WireReader& in)
{
    PagePicture picture;
    picture.id = in.u64();
    picture.width = in.i32();
    picture.height = in.i32();
    picture.resolution = readNumber(in, 0, 1e6);
    if (picture.width < 1 || picture.height < 1 ||
        std::int64_t{picture.width} * picture.height > mostPixels)
        in.fail();
    return picture;
}

} // namespace korvane::wire
