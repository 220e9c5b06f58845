#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace korvane {

/** An empty folder of the test's own, removed with all that is in it. */
class TemporaryFolder {
public:
    TemporaryFolder()
    {
        std::string path = (std::filesystem::temp_directory_path() / "korvane-XXXXXX").string();
        if (::mkdtemp(path.data()) == nullptr) throw std::runtime_error("no temporary folder");
        path_ = path;
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& path() const { return path_; }

    /** Writes a file below the folder, with the folders it needs, and gives its path. */
    std::filesystem::path write(const std::filesystem::path& name, std::string_view content) const
    {
        std::filesystem::path file = path_ / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream stream(file, std::ios::binary | std::ios::trunc);
        stream.write(content.data(), static_cast<std::streamsize>(content.size()));
        return file;
    }

    /** The content of a file below the folder; empty when there is none. */
    std::string read(const std::filesystem::path& name) const
    {
        std::ifstream stream(path_ / name, std::ios::binary);
        std::ostringstream content;
        content << stream.rdbuf();
        return content.str();
    }

    /** How many entries the folder itself holds, hidden ones too. */
    std::ptrdiff_t entryCount() const
    {
        return std::distance(std::filesystem::directory_iterator(path_), {});
    }

private:
    std::filesystem::path path_;
};

} // namespace korvane
