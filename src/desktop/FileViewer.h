#pragma once

#include "desktop/Opening.h"

#include <filesystem>
#include <string>

namespace korvane {

/** The desktop's file manager. */
class FileViewer {
public:
    virtual ~FileViewer() = default;

    /** Opens the file's folder with the file selected. Returns at once. With the activation token
     *  of what the user has clicked the window gets the focus; it may be empty. */
    virtual void reveal(const std::filesystem::path& file, const std::string& activationToken,
                        OpeningHandler handler) = 0;
};

} // namespace korvane
