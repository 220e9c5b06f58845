#pragma once

#include <filesystem>
#include <string>

namespace korvane {

/** The file URI of an absolute path (RFC 8089), with every byte that is not unreserved in
 *  RFC 3986, section 2.3, percent-encoded. */
std::string fileURI(const std::filesystem::path& path);

} // namespace korvane
