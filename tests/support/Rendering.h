#pragma once

#include "base/Data.h"
#include "support/TemporaryFolder.h"
#include "support/URFBuilder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

namespace korvane::test {

/** What a screen, whose colors are sRGB, shows for gray whose luminance is a power of its value. */
inline std::uint8_t shownGray(std::uint8_t value, double exponent)
{
    const double linear = std::pow(value / 255.0, exponent);
    const double encoded =
        linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
    return static_cast<std::uint8_t>(std::lround(255 * encoded));
}

/** What other programs make of our documents. */
class Rendering : public testing::Test {
protected:
    void SetUp() override
    {
        if (!runs("qpdf --version > /dev/null && pdftoppm -v"))
            GTEST_SKIP() << "needs qpdf and poppler-utils";
    }

    /** The pages as poppler shows them at their own resolution, in RGB. */
    static std::vector<Raster> render(const Data& pdf, std::uint32_t horizontalResolution = 72,
                                      std::uint32_t verticalResolution = 0)
    {
        const TemporaryFolder folder;
        const std::string file = folder.write("document.pdf", pdf.text());
        const std::uint32_t vertical =
            verticalResolution == 0 ? horizontalResolution : verticalResolution;
        EXPECT_TRUE(runs("qpdf --check " + file + " > /dev/null"));
        EXPECT_TRUE(runs("pdftoppm -rx " + std::to_string(horizontalResolution) + " -ry " +
                         std::to_string(vertical) + " " + file + " > " + file + ".ppm"));
        std::istringstream stream(folder.read("document.pdf.ppm"));
        std::vector<Raster> pages;
        std::string word;
        for (Raster page; stream >> word >> page.width >> page.height >> word;
             pages.push_back(page)) {
            page.pixels.resize(page.rowSize() * page.height);
            stream.get();
            stream.read(reinterpret_cast<char*>(page.pixels.data()),
                        static_cast<std::streamsize>(page.pixels.size()));
        }
        return pages;
    }

private:
    static bool runs(const std::string& command)
    {
        return std::system((command + " 2> /dev/null").c_str()) == 0;
    }
};

} // namespace korvane::test
