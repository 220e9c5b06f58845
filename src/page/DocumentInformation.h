#pragma once

#include <map>
#include <string>

namespace korvane {

/** The document information of a PDF (ISO 32000-1, 14.3.3): "Title" and the like, with its text in
 *  UTF-8; dates are texts as well (7.9.4). */
using DocumentInformation = std::map<std::string, std::string>;

} // namespace korvane
