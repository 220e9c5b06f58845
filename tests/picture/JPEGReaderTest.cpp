#include "picture/JPEGReader.h"

#include "support/JPEGBuilder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace korvane {
namespace {

using test::adobe;
using test::exif;
using test::frame;
using test::jfif;
using test::jpeg;
using test::profile;
using test::profileChunk;
using test::quantization;
using test::scan;
using test::segment;

/** Memory of its own that ends with the file: what is read behind it shows. */
Result<JPEGPicture, std::string> read(std::string_view file)
{
    const std::vector<std::uint8_t> bytes(file.begin(), file.end());
    return readJPEG(bytes);
}

TEST(JPEGReader, TellsWhatTheHeadersSay)
{
    struct Case {
        const char* name;
        std::string headers;
        JPEGPicture expected;
    };
    const std::string color = frame();
    const std::string cmyk = frame({.identifiers = "\1\2\3\4"});
    const auto iccOf = [](std::string_view colors) {
        const std::string bytes = profile(colors);
        return std::vector<std::uint8_t>(bytes.begin(), bytes.end());
    };
    const std::string rgbProfile = profile("RGB ");
    const Case cases[] = {
        {"color", color, {.components = 3}},
        {"gray, extended", frame({.marker = 0xC1, .identifiers = "\1"}), {.components = 1}},
        {"progressive", frame({.marker = 0xC2}), {.components = 3}},
        {"red, green and blue",
         frame({.identifiers = "RGB"}),
         {.components = 3, .isPlainRGB = true}},
        {"letters in a JFIF file",
         jfif(0, 1, 1) + frame({.identifiers = "RGB"}),
         {.components = 3}},
        {"CMYK", cmyk, {.components = 4}},
        {"CMYK by Adobe", adobe() + cmyk, {.components = 4, .isInverted = true}},
        {"color by Adobe", adobe() + color, {.components = 3}},
        {"density per inch", jfif(1, 150, 75) + color, {.components = 3, .density = {150, 75}}},
        {"density per centimeter",
         jfif(2, 100, 50) + color,
         {.components = 3, .density = {254, 127}}},
        {"an aspect ratio", jfif(0, 100, 100) + color, {.components = 3}},
        {"a density of 1", jfif(1, 1, 1) + color, {.components = 3}},
        {"one density of two", jfif(1, 0, 200) + color, {.components = 3}},
        {"Exif, II",
         exif({.orientation = 6, .x = 200, .y = 100, .isBigEndian = false}) + color,
         {.components = 3, .orientation = 6, .density = {200, 100}}},
        {"Exif, MM, over JFIF",
         jfif(1, 72, 72) + exif({.orientation = 8, .x = 40, .y = 40, .unit = 3}) + color,
         {.components = 3, .orientation = 8, .density = {101.6, 101.6}}},
        {"Exif without a unit",
         jfif(1, 90, 90) + exif({.unit = 1}) + color,
         {.components = 3, .density = {90, 90}}},
        {"Exif divided by zero",
         exif({.orientation = 9, .denominator = 0}) + color,
         {.components = 3}},
        {"the first Exif",
         exif({.orientation = 3}) + exif({.orientation = 4}) + color,
         {.components = 3, .orientation = 3, .density = {72, 72}}},
        {"a profile in pieces, in any order",
         profileChunk(2, 2, std::string_view(rgbProfile).substr(200)) + color +
             profileChunk(1, 2, std::string_view(rgbProfile).substr(0, 200)),
         {.components = 3, .profile = iccOf("RGB ")}},
        {"a profile without a piece",
         profileChunk(1, 2, std::string_view(rgbProfile).substr(0, 200)) + color,
         {.components = 3}},
        {"a profile for gray", profileChunk(1, 1, profile("GRAY")) + color, {.components = 3}},
        {"a profile for CMYK",
         profileChunk(1, 1, profile("CMYK")) + cmyk,
         {.components = 4, .profile = iccOf("CMYK")}},
        {"filling and comments",
         "\xFF\xFF" + segment(0xFE, "hello") + "rubbish" + color,
         {.components = 3}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const auto picture = read(jpeg(each.headers + quantization() + scan()));
        ASSERT_TRUE(picture) << picture.error();
        EXPECT_EQ(picture->width, 320U);
        EXPECT_EQ(picture->height, 240U);
        EXPECT_EQ(picture->components, each.expected.components);
        EXPECT_EQ(picture->isPlainRGB, each.expected.isPlainRGB);
        EXPECT_EQ(picture->isInverted, each.expected.isInverted);
        EXPECT_EQ(picture->orientation, each.expected.orientation);
        EXPECT_EQ(picture->density, each.expected.density);
        EXPECT_EQ(picture->profile, each.expected.profile);
    }
}

TEST(JPEGReader, TellsWhyAFileHasNoPicture)
{
    struct Case {
        std::string headers;
        const char* reason;
    };
    const std::string rest = quantization() + scan();
    const Case cases[] = {
        {frame({.marker = 0xC3}) + rest, "its coding (SOF3) is not supported"},
        {frame({.marker = 0xC9}) + rest, "its coding (SOF9) is not supported"},
        {frame({.bits = 12}) + rest, "12 bits a color are not supported"},
        {frame({.identifiers = "\1\2"}) + rest, "2 colors are not supported"},
        {frame({.height = 0}) + rest, "it does not state its size"},
        {frame({.width = 0}) + rest, "it does not state its size"},
        {frame({.sampling = 0x51}) + rest, "it is damaged before byte 21 (marker FFC0)"},
        {frame() + frame() + rest, "it is damaged before byte 40 (marker FFC0)"},
        {rest, "it has no frame header"},
        {frame() + scan(), "it has no quantization tables"},
        {frame() + quantization() + scan(4), "it is damaged before byte 106 (marker FFDA)"},
        {frame() + "\xFF\xD9", "it has no picture"},
        {"\xFF\xD8", "it is damaged before byte 4 (marker FFD8)"},
        {"\xFF\xF7" + std::string(9, '\0'), "it is damaged before byte 4 (marker FFF7)"},
        {std::string("\xFF\xE0\0\1", 4), "it is damaged before byte 4 (marker FFE0)"},
        {std::string(100, '\0'), "it ends within its headers"},
    };
    for (const Case& each : cases) EXPECT_EQ(read(jpeg(each.headers)).error(), each.reason);
    EXPECT_EQ(read("GIF89a").error(), "it does not begin like a JPEG file");
}

TEST(JPEGReader, TakesWhatIsWholeUpToTheFirstScanAndReadsNothingOutsideOfAFile)
{
    const std::string headers =
        jpeg(jfif(1, 300, 300) + exif() + profileChunk(1, 1, profile("RGB ")) + frame() +
             quantization() + scan());
    for (std::size_t length = 0; length < headers.size(); ++length)
        EXPECT_FALSE(read(std::string_view(headers).substr(0, length))) << length;
    EXPECT_TRUE(read(headers + "a scan that is cut short"));
    for (std::size_t at = 0; at < headers.size(); ++at) {
        for (const char changed : {'\0', '\x7F', '\xFF'}) {
            std::string file = headers;
            file[at] = changed;
            const auto picture = read(file);
            if (!picture) continue;
            EXPECT_TRUE(picture->width > 0 && picture->height > 0 && picture->components > 0) << at;
            EXPECT_TRUE(picture->orientation >= 1 && picture->orientation <= 8) << at;
            EXPECT_TRUE(picture->density.isPlausible()) << at;
        }
    }
}

} // namespace
} // namespace korvane
