#include "picture/JPEGReader.h"

#include "base/BigEndian.h"
#include "picture/ColorProfile.h"
#include "picture/ExifReader.h"
#include "picture/JPEGMarker.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

namespace korvane {

namespace {

using Bytes = std::span<const std::uint8_t>;
using Status = Result<void, std::string>;
using namespace jpeg;

constexpr std::size_t lengthSize = 2;

/** Removes the identifier from the start of an application segment that has it. */
bool takePrefix(Bytes& segment, std::string_view identifier)
{
    if (segment.size() < identifier.size() ||
        !std::equal(identifier.begin(), identifier.end(), segment.begin(),
                    [](char letter, std::uint8_t byte) {
                        return static_cast<std::uint8_t>(letter) == byte;
                    }))
        return false;
    segment = segment.subspan(identifier.size());
    return true;
}

class JPEGReader {
public:
    explicit JPEGReader(Bytes file) : file_(file) {}

    Result<JPEGPicture, std::string> read()
    {
        if (file_.size() < 2 || file_[0] != 0xFF || file_[1] != SOI)
            return failure(std::string("it does not begin like a JPEG file"));
        for (position_ = 2; !isAtScan_;) {
            if (const Status status = readSegment(); !status) return failure(status.error());
        }
        return finished();
    }

private:
    /** One marker with what belongs to it. Like libjpeg, skips bytes before it that belong to
     *  nothing. */
    Status readSegment()
    {
        const auto first = std::find(file_.begin() + index(position_), file_.end(), 0xFF);
        const auto code =
            std::find_if(first, file_.end(), [](std::uint8_t byte) { return byte != 0xFF; });
        if (code == file_.end()) return endsEarly();
        position_ = static_cast<std::size_t>(code - file_.begin()) + 1;
        if (*code == 0) return {}; // no marker: FF 00 stands for the byte FF
        if (!isKnown(*code)) return damaged(*code);
        if (isBare(*code)) return readBareMarker(*code);

        const Bytes rest = file_.subspan(position_);
        if (rest.size() < lengthSize) return endsEarly();
        const std::size_t length = bigEndian<std::uint16_t>(rest);
        if (length < lengthSize) return damaged(*code);
        if (length > rest.size()) return endsEarly();
        position_ += length;
        return readContent(*code, rest.subspan(lengthSize, length - lengthSize));
    }

    Status readBareMarker(std::uint8_t marker) const
    {
        if (marker == EOI) return failure(std::string("it has no picture"));
        return marker == SOI ? damaged(marker) : Status();
    }

    Status readContent(std::uint8_t marker, Bytes content)
    {
        switch (marker) {
        case APP0: return readJFIF(content);
        case APP1: return readAPP1(content);
        case APP2: return readAPP2(content);
        case APP14: return readAdobe(content);
        case DQT: hasQuantization_ = true; return {};
        case SOS: return readScanHeader(content);
        case DHT:
        case DAC: return {};
        default: return marker >= SOF0 && marker <= SOF15 ? readFrame(marker, content) : Status();
        }
    }

    /** Section B.2.2. */
    Status readFrame(std::uint8_t marker, Bytes content)
    {
        constexpr std::size_t fixedSize = 6;
        constexpr std::size_t componentSize = 3;
        if (marker > SOF2) {
            if (marker == JPG) return damaged(marker);
            return failure(fmt::format("its coding (SOF{}) is not supported", marker - SOF0));
        }
        if (picture_.components != 0 || content.size() < fixedSize) return damaged(marker);
        picture_.height = bigEndian<std::uint16_t>(content.subspan(1));
        picture_.width = bigEndian<std::uint16_t>(content.subspan(3));
        picture_.components = content[5];
        if (content.size() != fixedSize + componentSize * picture_.components)
            return damaged(marker);
        if (content[0] != 8)
            return failure(fmt::format("{} bits a color are not supported", content[0]));
        if (picture_.width == 0 || picture_.height == 0)
            return failure(std::string("it does not state its size"));
        if (picture_.components != 1 && picture_.components != 3 && picture_.components != 4)
            return failure(fmt::format("{} colors are not supported", picture_.components));
        for (std::size_t at = fixedSize; at < content.size(); at += componentSize) {
            identifiers_ += static_cast<char>(content[at]);
            const int horizontal = content[at + 1] >> 4, vertical = content[at + 1] & 15;
            if (horizontal < 1 || horizontal > 4 || vertical < 1 || vertical > 4)
                return damaged(marker);
        }
        return {};
    }

    /** Section B.2.3. */
    Status readScanHeader(Bytes content)
    {
        if (picture_.components == 0) return failure(std::string("it has no frame header"));
        if (!hasQuantization_) return failure(std::string("it has no quantization tables"));
        const std::size_t components = content.empty() ? 0 : content[0];
        if (components < 1 || components > picture_.components ||
            content.size() != 4 + 2 * components)
            return damaged(SOS);
        isAtScan_ = true;
        return {};
    }

    Status readJFIF(Bytes content)
    {
        enum { perInch = 1, perCentimeter = 2 };
        if (!takePrefix(content, {"JFIF\0", 5})) return {};
        hasJFIF_ = true;
        if (content.size() < 7) return {};
        const double scale = content[2] == perInch ? 1 : content[2] == perCentimeter ? 2.54 : 0;
        jfifDensity_ = {.x = scale * bigEndian<std::uint16_t>(content.subspan(3)),
                        .y = scale * bigEndian<std::uint16_t>(content.subspan(5))};
        return {};
    }

    /** The first one counts; others are of pictures that programs have kept inside. */
    Status readAPP1(Bytes content)
    {
        if (!exif_ && takePrefix(content, {"Exif\0\0", 6})) exif_ = readExif(content);
        return {};
    }

    Status readAPP2(Bytes content)
    {
        if (takePrefix(content, {"ICC_PROFILE\0", 12})) profile_.add(content);
        return {};
    }

    Status readAdobe(Bytes content)
    {
        hasAdobe_ = hasAdobe_ || takePrefix(content, "Adobe");
        return {};
    }

    JPEGPicture finished()
    {
        const ExifData exif = exif_.value_or(ExifData());
        picture_.orientation = exif.orientation;
        if (exif.density && exif.density->isPlausible())
            picture_.density = *exif.density;
        else if (jfifDensity_.isPlausible())
            picture_.density = jfifDensity_;
        picture_.isPlainRGB = identifiers_ == "RGB" && !hasJFIF_ && !hasAdobe_;
        picture_.isInverted = picture_.components == 4 && hasAdobe_;
        picture_.profile = profile_.take(picture_.components);
        return std::move(picture_);
    }

    static Status endsEarly() { return failure(std::string("it ends within its headers")); }

    Status damaged(std::uint8_t marker) const
    {
        return failure(
            fmt::format("it is damaged before byte {} (marker FF{:02X})", position_, marker));
    }

    static std::ptrdiff_t index(std::size_t position)
    {
        return static_cast<std::ptrdiff_t>(position);
    }

    Bytes file_;
    std::size_t position_ = 0;
    bool isAtScan_ = false;
    bool hasQuantization_ = false;
    bool hasJFIF_ = false;
    bool hasAdobe_ = false;
    /** Of the components. */
    std::string identifiers_;
    Density jfifDensity_{.x = 0, .y = 0};
    std::optional<ExifData> exif_;
    ProfileChunks profile_;
    JPEGPicture picture_;
};

} // namespace

Result<JPEGPicture, std::string> readJPEG(std::span<const std::uint8_t> file)
{
    return JPEGReader(file).read();
}

} // namespace korvane
