#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace korvane {

/** An empty folder of the test's own, removed with all that is in it. */
class TemporaryFolder {
public:
    TemporaryFolder()
        : path_(::mkdtemp(
              (std::filesystem::temp_directory_path() / "korvane-XXXXXX").string().data()))
    {
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }

    const std::filesystem::path& path() const { return path_; }

    /** Writes a file below the folder, with the folders it needs, and gives its path. */
    std::filesystem::path write(const std::filesystem::path& name, std::string_view content) const
    {
        std::filesystem::path file = path_ / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << content;
        return file;
    }

    /** The content of a file below the folder; empty when there is none. */
    std::string read(const std::filesystem::path& name) const
    {
        std::ifstream stream(path_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
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
