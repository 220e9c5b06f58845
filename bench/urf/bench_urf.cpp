// How fast printed pages become PDF, in each layout that they may come in, and how large the PDF
// is:
//
//     bench_urf [page.ppm [runs [photograph.ppm]]]
//
// The pages are binary PPM (P6) files, or made here when none are given: text-like marks, and a
// picture of soft shapes with the grain of a sensor. Times are CPU time of one thread; MB are
// millions of bytes of the page's raster; the PDF is thrown away. The layouts take turns, so that
// their ratio holds on a machine that is busy with other things.

#include "raster/PWGDecoder.h"
#include "raster/URFDecoder.h"
#include "support/CupsRaster.h"
#include "support/URFBuilder.h"

#include <fmt/format.h>
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace {

using korvane::Data;
using korvane::test::CupsRaster;
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

Raster noise()
{
    Raster raster{.width = 2560, .height = 3300};
    std::mt19937 random(1); // NOLINT: the same pixels in every run
    for (std::uint8_t& value : raster.pixels) value = static_cast<std::uint8_t>(random());
    return raster;
}

/** Soft shapes, no two neighboring pixels quite alike. */
Raster syntheticPhotograph()
{
    Raster raster{.width = 2560, .height = 3300};
    std::mt19937 random(1); // NOLINT: the same pixels in every run
    std::normal_distribution grain(0.0, 1.5);
    for (std::size_t y = 0; y < raster.height; ++y) {
        for (std::size_t x = 0; x < raster.width; ++x) {
            const auto across = static_cast<double>(x);
            const auto down = static_cast<double>(y);
            const double shade =
                60 * std::sin(across / 210) + 40 * std::cos(down / 170 + across / 900);
            for (std::size_t channel = 0; channel < 3; ++channel) {
                const double tint = 12 * std::sin(down / 400 + static_cast<double>(channel));
                raster.pixels[y * raster.rowSize() + 3 * x + channel] = static_cast<std::uint8_t>(
                    std::clamp(std::lround(128 + shade + tint + grain(random)), 0L, 255L));
            }
        }
    }
    return raster;
}

/** A page in one of the layouts, and how long it took to become PDF, a time for each run. */
struct Conversion {
    std::string layout;
    Data document;
    decltype(&korvane::URFDecoder::decodeToPDF) decode;
    std::vector<double> times;
    std::uint64_t pdfSize = 0;

    double best() const { return *std::ranges::min_element(times); }
    double median() const
    {
        std::vector<double> sorted = times;
        std::ranges::sort(sorted);
        return sorted[sorted.size() / 2];
    }
};

std::vector<Conversion> conversions(const Raster& page)
{
    const CupsRaster::Page color{CUPS_CSPACE_SRGB, page.width, page.height, 300, 300};
    const auto cups = [&](cups_mode_t mode) {
        return CupsRaster(mode).page(color, page.pixels).document();
    };
    constexpr auto urf = korvane::URFDecoder::decodeToPDF;
    constexpr auto pwg = korvane::PWGDecoder::decodeToPDF;
    return {{"URF, 28-byte headers", korvane::test::URFBuilder(1).page(page, 300).build(), urf, {}},
            {"URF, 32-byte headers", cups(CUPS_RASTER_WRITE_APPLE), urf, {}},
            {"PWG raster", cups(CUPS_RASTER_WRITE_PWG), pwg, {}}};
}

std::size_t zlibSize(const std::vector<std::uint8_t>& pixels)
{
    uLongf size = compressBound(pixels.size());
    std::vector<std::uint8_t> compressed(size);
    compress2(compressed.data(), &size, pixels.data(), pixels.size(), 6);
    return size;
}

korvane::Result<void, korvane::SystemError> discard(std::span<const std::uint8_t> /*bytes*/)
{
    return {};
}

bool measure(const std::string& name, const Raster& page, std::size_t runs)
{
    const auto megabytes = static_cast<double>(page.pixels.size()) / 1e6;
    fmt::print("{}: {} x {}, {:.1f} MB of raster, {} runs\n", name, page.width, page.height,
               megabytes, runs);
    std::vector<Conversion> all = conversions(page);
    for (std::size_t run = 0; run < runs; ++run) {
        for (Conversion& each : all) {
            const double start = cpuSeconds();
            const auto pdfSize = each.decode(each.document, discard, {});
            each.times.push_back(cpuSeconds() - start);
            if (!pdfSize) {
                fmt::print(stderr, "{}\n", pdfSize.error().errorDescription());
                return false;
            }
            each.pdfSize = *pdfSize;
        }
    }
    const std::size_t zlib = zlibSize(page.pixels);
    for (const Conversion& each : all) {
        fmt::print("  {:<21} best {:.0f} MB/s, median {:.0f} MB/s, {:.2f} of the first; {} bytes,"
                   " PDF {} bytes, {:.3f} of zlib level 6\n",
                   each.layout, megabytes / each.best(), megabytes / each.median(),
                   all[0].median() / each.median(), each.document.size(), each.pdfSize,
                   static_cast<double>(each.pdfSize) / static_cast<double>(zlib));
    }
    return true;
}

/** The PPM file that an argument names, or the page made here when there is no argument. */
std::optional<Raster> pageFrom(const char* path, Raster (*make)())
{
    return path == nullptr ? make() : readPPM(path);
}

} // namespace

int main(int argc, char** argv)
{
    const auto argument = [&](int index) { return argc > index ? argv[index] : nullptr; };
    const std::optional<Raster> text = pageFrom(argument(1), syntheticPage);
    const std::optional<Raster> photograph = pageFrom(argument(3), syntheticPhotograph);
    if (!text || !photograph) {
        fmt::print(stderr, "{}: not a binary 8-bit PPM file\n", argv[text ? 3 : 1]);
        return EXIT_FAILURE;
    }
    const std::size_t runs = argc > 2 ? std::max(1UL, std::strtoul(argv[2], nullptr, 10)) : 30;
    const bool measured = measure("text", *text, runs) &&
                          measure("photograph", *photograph, runs / 4 + 1) &&
                          measure("noise", noise(), runs / 4 + 1);
    return measured ? EXIT_SUCCESS : EXIT_FAILURE;
}
