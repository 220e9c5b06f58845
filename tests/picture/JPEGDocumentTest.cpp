#include "picture/JPEGDocument.h"

#include "support/JPEGBuilder.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <string>

namespace korvane {
namespace {

using test::exif;
using test::frame;
using testing::HasSubstr;

constexpr PaperSize a4{.width = 21000, .height = 29700};

std::string file(const std::string& headers)
{
    return test::jpeg(headers + test::quantization() + test::scan()) + "its pixels\r\n\xFF\xD9 end";
}

Result<std::string, PictureError> written(const std::string& jpeg, const PaperSize& paper = a4)
{
    std::string pdf;
    const auto length =
        writeJPEGDocument(Data::copying(jpeg), paper,
                          [&](std::span<const std::uint8_t> bytes) -> Result<void, SystemError> {
                              pdf.append(bytes.begin(), bytes.end());
                              return {};
                          });
    if (!length) return failure(length.error());
    EXPECT_EQ(*length, pdf.size());
    return pdf;
}

TEST(JPEGDocument, HoldsTheFileAsItIs)
{
    const std::string gray = file(frame({.identifiers = "\1"}));
    EXPECT_THAT(*written(gray),
                HasSubstr("/Width 320 /Height 240 /ColorSpace /DeviceGray /BitsPerComponent 8"
                          " /Interpolate true /Filter /DCTDecode /Length " +
                          std::to_string(gray.size()) + " >>\nstream\n" + gray + "\nendstream"));
}

TEST(JPEGDocument, TellsViewersTheColors)
{
    struct Case {
        std::string headers;
        const char* entries;
    };
    const std::string cmyk = frame({.identifiers = "\1\2\3\4"});
    const Case cases[] = {
        {frame(),
         "/ColorSpace /DeviceRGB /BitsPerComponent 8 /Interpolate true /Filter /DCTDecode /L"},
        {frame({.identifiers = "RGB"}),
         "/Filter /DCTDecode /DecodeParms << /ColorTransform 0 >> /L"},
        {cmyk,
         "/ColorSpace /DeviceCMYK /BitsPerComponent 8 /Interpolate true /Filter /DCTDecode /L"},
        {test::adobe() + cmyk, "/Filter /DCTDecode /Decode [1 0 1 0 1 0 1 0] /L"},
        {test::profileChunk(1, 1, test::profile("RGB ")) + frame(),
         "/N 3 /Alternate /DeviceRGB /Length 300 >>\nstream\n"},
    };
    for (const Case& each : cases)
        EXPECT_THAT(*written(file(each.headers)), HasSubstr(each.entries));
}

TEST(JPEGDocument, HasAPageOfThePicturesSizeOrAsLargeAsFitsThePaper)
{
    struct Case {
        std::size_t width, height, density, orientation;
        PaperSize paper;
        const char* mediaBox;
    };
    constexpr PaperSize square{.width = 2540, .height = 2540};
    const Case cases[] = {
        {300, 600, 300, 1, a4, "[0 0 72 144]"},
        {300, 600, 300, 5, a4, "[0 0 144 72]"},
        {300, 600, 72, 1, square, "[0 0 36 72]"},
        {600, 300, 72, 8, square, "[0 0 36 72]"},
        {10, 20, 10, 1, {.width = 5080, .height = 2540}, "[0 0 72 144]"},
        {40, 40, 10, 1, {.width = 5080, .height = 2540}, "[0 0 72 72]"},
        {40, 20, 10, 1, {.width = 2540, .height = 5080}, "[0 0 144 72]"},
    };
    for (const Case& each : cases) {
        const std::string headers =
            exif({.orientation = each.orientation, .x = each.density, .y = each.density}) +
            frame({.width = each.width, .height = each.height});
        EXPECT_THAT(*written(file(headers), each.paper), HasSubstr(each.mediaBox));
    }
}

TEST(JPEGDocument, TellsARefusalFromAFullDisk)
{
    const auto refused = written("\xFF\xD8\xFF\xD9");
    EXPECT_EQ(std::get<PictureError::Refused>(refused.error().value).reason, "it has no picture");
    const auto full = [](std::span<const std::uint8_t>) -> Result<void, SystemError> {
        return failure(SystemError{ENOSPC});
    };
    const auto length = writeJPEGDocument(Data::copying(file(frame())), a4, full);
    EXPECT_EQ(std::get<PictureError::NotWritten>(length.error().value).error, SystemError{ENOSPC});
}

} // namespace
} // namespace korvane
