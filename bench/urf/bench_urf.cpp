// How fast a printed page becomes PDF, and how large the PDF is:
//
//     bench_urf [page.ppm [runs]]
//
// The page is a binary PPM (P6) file, or a page of text-like marks when none is given. Times are
// CPU time of one thread; MB are millions of bytes of the page's raster.

#include "lib/deflate/ZlibCompressor.h"
#include "support/DecodedRaster.h"
#include "support/URFBuilder.h"

#include <fmt/format.h>
#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace {

using korvane::ByteBuffer;
using korvane::Data;
using korvane::test::Raster;

double cpuSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

std::optional<Raster> readPPM(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string magic;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    int largest = 0;
    if (!(file >> magic >> width >> height >> largest) || magic != "P6" || largest != 255)
        return {};
    file.get();
    Raster raster{.width = width, .height = height};
    file.read(reinterpret_cast<char*>(raster.pixels.data()),
              static_cast<std::streamsize>(raster.pixels.size()));
    return file ? std::optional(std::move(raster)) : std::nullopt;
}

/** Lines of words of letters: upright strokes with soft edges, no two letters quite alike. */
Raster syntheticPage()
{
    Raster raster{.width = 2560, .height = 3300};
    std::ranges::fill(raster.pixels, std::uint8_t{255});
    std::uint32_t state = 1;
    const auto random = [&state](std::uint32_t below) {
        state = state * 1664525 + 1013904223;
        return (state >> 16) % below;
    };
    const auto letter = [&](std::size_t left, std::size_t top) {
        for (std::size_t stroke = 0; stroke < 3; ++stroke) {
            const std::size_t x = left + stroke * 8 + random(3);
            const std::size_t height = 18 + random(14);
            const auto softness = static_cast<std::uint8_t>(40 + random(160));
            for (std::size_t y = top + 32 - height; y < top + 32; ++y) {
                const std::size_t slant = stroke == 1 ? (y - top) / 8 : 0;
                std::uint8_t* pixel = &raster.pixels[y * raster.rowSize() + (x + slant) * 3];
                std::fill_n(pixel, 3, softness);
                std::fill_n(pixel + 3, 9, std::uint8_t{0});
                std::fill_n(pixel + 12, 3, static_cast<std::uint8_t>(255 - softness));
            }
        }
    };
    for (std::size_t top = 300; top < 2100; top += 56) {
        for (std::size_t left = 300; left < 2200;) {
            for (std::size_t letters = 2 + random(8); letters > 0 && left < 2200; --letters) {
                letter(left, top);
                left += 28;
            }
            left += 14;
        }
    }
    return raster;
}

struct Times {
    double best = 0;
    double median = 0;
};

template <typename Work>
Times measure(std::size_t runs, Work work)
{
    std::vector<double> times(runs);
    for (double& time : times) {
        const double start = cpuSeconds();
        work();
        time = cpuSeconds() - start;
    }
    std::ranges::sort(times);
    return {times.front(), times[runs / 2]};
}

/** What the page image's Flate stream holds, which is what there was to compress. */
std::vector<std::uint8_t> compressedInput(const Data& pdf, std::size_t largest)
{
    const std::size_t stream = pdf.text().find("stream\n", pdf.text().find("/Subtype /Image")) + 7;
    std::vector<std::uint8_t> content(largest);
    uLongf size = largest;
    uLong used = pdf.size() - stream;
    uncompress2(content.data(), &size, pdf.bytes().data() + stream, &used);
    content.resize(size);
    return content;
}

std::size_t zlibSize(const std::vector<std::uint8_t>& pixels)
{
    uLongf size = compressBound(pixels.size());
    std::vector<std::uint8_t> compressed(size);
    compress2(compressed.data(), &size, pixels.data(), pixels.size(), 6);
    return size;
}

} // namespace

int main(int argc, char** argv)
{
    const std::optional<Raster> page = argc > 1 ? readPPM(argv[1]) : syntheticPage();
    if (!page) {
        fmt::print(stderr, "{}: not a binary 8-bit PPM file\n", argv[1]);
        return EXIT_FAILURE;
    }
    const std::size_t runs = argc > 2 ? std::max(1UL, std::strtoul(argv[2], nullptr, 10)) : 30;
    const Data document = korvane::test::URFBuilder(1).page(*page, 300).build();

    korvane::Result<Data, korvane::URFDecoder::Error> pdf;
    const Times conversion = measure(runs, [&] { pdf = korvane::test::decodedURF(document); });
    if (!pdf) {
        fmt::print(stderr, "{}\n", pdf.error().errorDescription());
        return EXIT_FAILURE;
    }
    const std::vector<std::uint8_t> input = compressedInput(*pdf, 2 * page->pixels.size() + 2);
    korvane::ZlibCompressor compressor(6);
    ByteBuffer compressed;
    const Times compression = measure(runs, [&] {
        compressed.consume(compressed.size());
        compressor.compress(input, compressed);
    });

    const auto megabytes = static_cast<double>(page->pixels.size()) / 1e6;
    const std::size_t zlib = zlibSize(page->pixels);
    fmt::print("page         {} x {}, {:.1f} MB of raster, {} bytes of URF\n", page->width,
               page->height, megabytes, document.size());
    fmt::print("URF to PDF   best {:.0f} MB/s, median {:.0f} MB/s of raster ({} runs)\n",
               megabytes / conversion.best, megabytes / conversion.median, runs);
    fmt::print("compression  {:.0f} % of that time, {} bytes to deflate\n",
               100 * compression.median / conversion.median, input.size());
    fmt::print("PDF          {} bytes, {:.3f} of zlib level 6 ({} bytes)\n", pdf->size(),
               static_cast<double>(pdf->size()) / static_cast<double>(zlib), zlib);
    return EXIT_SUCCESS;
}
