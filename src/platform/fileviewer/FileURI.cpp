#include "platform/fileviewer/FileURI.h"

#include <fmt/format.h>

#include <string_view>

namespace korvane {

std::string fileURI(const std::filesystem::path& path)
{
    constexpr std::string_view unreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                            "0123456789-._~/";
    std::string uri = "file://";
    for (const char byte : path.native()) {
        if (unreserved.find(byte) != std::string_view::npos) {
            uri += byte;
        } else {
            uri += fmt::format("%{:02X}", static_cast<unsigned char>(byte));
        }
    }
    return uri;
}

} // namespace korvane
