#pragma once

#include <string>
#include <string_view>

/** Percent-encoding (RFC 3986, section 2.1). */
namespace korvane::text {

/** The characters of a path in a URI that stand for themselves: the unreserved ones (RFC 3986,
 *  section 2.3) and the slash. */
constexpr std::string_view plainInPaths =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";

/** Each byte that is not one of `plain` as "%" and two upper-case hexadecimal digits. */
std::string percentEncoded(std::string_view bytes, std::string_view plain = plainInPaths);

/** Whether the text begins with a byte encoded like this. */
bool beginsPercentEncoded(std::string_view text);

/** The bytes that the text stands for; a "%" without two hexadecimal digits stands for itself. */
std::string percentDecoded(std::string_view text);

/** The URI of the file at an absolute path (RFC 8089). */
std::string fileURI(std::string_view path);

} // namespace korvane::text
