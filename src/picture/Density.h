#pragma once

namespace korvane {

/** Pixels per inch of a picture as it is stored, along its rows and along its columns. */
struct Density {
    double x = 300;
    double y = 300;

    /** Whether a camera, a scanner or a program can have meant it: pictures that do not know their
     *  size on paper say 0, 1 or the like. */
    bool isPlausible() const
    {
        const auto isOne = [](double density) { return density >= 10 && density <= 10000; };
        return isOne(x) && isOne(y);
    }

    friend bool operator==(const Density&, const Density&) = default;
};

} // namespace korvane
