#pragma once

#include <filesystem>

namespace korvane {

/** The desktop's file manager. */
class FileViewer {
public:
    virtual ~FileViewer() = default;

    /** Opens the file's folder with the file selected. Returns at once; where the desktop cannot,
     *  nothing happens. */
    virtual void reveal(const std::filesystem::path& file) = 0;
};

} // namespace korvane
