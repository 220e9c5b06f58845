#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/** The text of notes, which comes from strangers' documents. Any bytes are taken, in linear time.
 */
namespace korvane::NoteText {

/** Only the characters that XML 1.0 (section 2.2) allows; line ends are line feeds. */
std::string allowedInXML(std::string_view text);

/** With the characters that are markup in XML as their entities. */
std::string xmlEscape(std::string_view text);

/** What a text in HTML or XML says: without its tags, with its entities resolved. */
std::string withoutMarkup(std::string_view markup);

/** A title for people: one line of at most `count` characters, without the controls that turn the
 *  direction of what stands beside them; "Untitled" where nothing is left. */
std::string title(std::string_view text, std::size_t count);

/** The file as a URI (RFC 8089). */
std::string fileURI(std::string_view path);

/** The path as the path of a URI (RFC 3986, section 3.3): what is not unreserved is encoded. */
std::string percentEncoded(std::string_view path);

} // namespace korvane::NoteText
