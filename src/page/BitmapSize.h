#pragma once

namespace korvane {

/** The size of a page's bitmap. */
struct BitmapSize {
    /** In pixels. */
    int width = 0;
    int height = 0;
    /** Pixels per inch. */
    double resolution = 0;

    friend bool operator==(const BitmapSize&, const BitmapSize&) = default;
};

} // namespace korvane
