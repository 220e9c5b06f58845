#include "picture/JPEGDocument.h"

#include "pdf/PDFObjectWriter.h"
#include "picture/JPEGReader.h"
#include "picture/PicturePage.h"

#include <fmt/format.h>

#include <string>

namespace korvane {

namespace {

std::string colorSpace(const JPEGPicture& picture, PDFObjectWriter& pdf)
{
    if (!picture.profile.empty())
        return fmt::format("{} 0 R", pdf.addColorSpace(picture.components, picture.profile));
    return std::string(deviceColorSpace(picture.components));
}

std::string imageEntries(const JPEGPicture& picture, const std::string& colorSpace)
{
    return fmt::format("/Type /XObject /Subtype /Image /Width {} /Height {} /ColorSpace {}"
                       " /BitsPerComponent 8 /Interpolate true /Filter /DCTDecode{}{}",
                       picture.width, picture.height, colorSpace,
                       picture.isPlainRGB ? " /DecodeParms << /ColorTransform 0 >>" : "",
                       picture.isInverted ? " /Decode [1 0 1 0 1 0 1 0]" : "");
}

} // namespace

Result<std::uint64_t, PictureError> writeJPEGDocument(const Data& jpeg, const PaperSize& paper,
                                                      const BufferedOutput::Sink& output)
{
    const auto picture = readJPEG(jpeg.bytes());
    if (!picture) return failure(PictureError{PictureError::Refused{picture.error()}});
    PDFObjectWriter pdf(output);
    const std::string entries = imageEntries(*picture, colorSpace(*picture, pdf));
    const auto image = pdf.addStream(entries, jpeg.bytes());
    pdf.addPage(pageOf(*picture, paper), image);
    const auto written = pdf.finish();
    if (!written) return failure(PictureError{PictureError::NotWritten{written.error()}});
    return pdf.size();
}

} // namespace korvane
