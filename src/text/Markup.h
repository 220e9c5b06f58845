#pragma once

#include <string>
#include <string_view>

/** Text in HTML and XML. Any bytes are taken, in linear time. */
namespace korvane::text {

/** The text with its five characters that are markup in HTML and XML, & < > " and ', as entities.
 */
std::string htmlEscape(std::string_view text);

/** The same for text that stands between tags only, where quotation marks are none: & < and > . */
std::string contentEscape(std::string_view text);

/** What a text in HTML or XML says: without its tags, with its entities resolved. */
std::string withoutMarkup(std::string_view markup);

/** Only the characters that XML 1.0 (section 2.2) allows; line ends are line feeds. */
std::string allowedInXML(std::string_view text);

} // namespace korvane::text
