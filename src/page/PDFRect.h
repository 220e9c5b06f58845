#pragma once

namespace korvane {

/** A rectangle in PDF points; (x, y) is its lower-left corner and y grows upwards. */
struct PDFRect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    friend bool operator==(const PDFRect&, const PDFRect&) = default;
};

} // namespace korvane
