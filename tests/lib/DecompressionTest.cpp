#include "lib/zlib/Decompression.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cerrno>
#include <string>
#include <string_view>

namespace korvane {
namespace {

constexpr int gzip = MAX_WBITS + 16, zlib = MAX_WBITS, deflated = -MAX_WBITS;

std::string compressed(std::string_view text, int windowBits)
{
    z_stream stream{};
    deflateInit2(&stream, 9, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY);
    std::string output(text.size() + 100, '\0');
    std::string input(text);
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef*>(output.data());
    stream.avail_out = static_cast<uInt>(output.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    output.resize(stream.total_out);
    deflateEnd(&stream);
    return output;
}

/** The content, or what was wrong. */
std::string contentOf(const std::string& document, std::uint64_t maxSize = 100'000'000)
{
    std::string content;
    const auto size =
        decompress({reinterpret_cast<const std::uint8_t*>(document.data()), document.size()},
                   maxSize, [&](std::span<const std::uint8_t> bytes) -> Result<void, SystemError> {
                       content.append(bytes.begin(), bytes.end());
                       return {};
                   });
    constexpr const char* errors[] = {"damaged", "too large", "not written"};
    if (!size) return errors[size.error().value.index()];
    EXPECT_EQ(*size, content.size());
    return content;
}

TEST(Decompression, KnowsEachFormatByItsBytes)
{
    std::string text = "Lines, and ";
    while (text.size() < 1'000'000) text += std::to_string(text.size()) + "\n";
    for (const int format : {gzip, zlib, deflated}) {
        SCOPED_TRACE(format);
        const std::string document = compressed(text, format);
        EXPECT_TRUE(contentOf(document) == text);
        EXPECT_TRUE(contentOf(document + "more") == text);
        EXPECT_TRUE(contentOf(document, text.size()) == text);
        EXPECT_EQ(contentOf(document, text.size() - 1), "too large");
    }
    EXPECT_EQ(contentOf(compressed("two ", gzip) + compressed("members", gzip)), "two members");
    EXPECT_EQ(contentOf(compressed("", gzip)), "");
}

TEST(Decompression, GivesNothingElseForWhatIsDamaged)
{
    const std::string text = "%PDF-1.7 and so on, and so on, and so on";
    EXPECT_EQ(contentOf("%!PS-Adobe"), "damaged");
    for (const int format : {gzip, zlib, deflated}) {
        const std::string whole = compressed(text, format);
        for (std::size_t length = 0; length < whole.size(); ++length)
            EXPECT_EQ(contentOf(whole.substr(0, length)), "damaged") << format << " " << length;
        if (format == deflated) continue; // which has no checksum
        for (std::size_t at = 0; at < whole.size(); ++at) {
            std::string document = whole;
            document[at] = static_cast<char>(document[at] ^ 0x55);
            const std::string content = contentOf(document);
            EXPECT_TRUE(content == "damaged" || content == text) << format << " " << at;
        }
    }
}

TEST(Decompression, EndsWhenItCannotWrite)
{
    const std::string document = compressed("a", zlib);
    const auto size =
        decompress({reinterpret_cast<const std::uint8_t*>(document.data()), document.size()}, 1,
                   [](std::span<const std::uint8_t>) -> Result<void, SystemError> {
                       return failure(SystemError{ENOSPC});
                   });
    EXPECT_EQ(std::get<DecompressionError::NotWritten>(size.error().value).error,
              SystemError{ENOSPC});
}

} // namespace
} // namespace korvane
