#pragma once

#include "lib/systemd/BusMessage.h"

#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/** The entries as members of a JSON object (RFC 8259), in their order, laid out for people to read.
 *  Bytes that are not UTF-8 become the replacement character. */
std::string jsonText(const BusDictionary& entries);

/** The members of a JSON object: texts, flags, whole numbers as `int64_t` and arrays of such
 *  objects. What is none of these is left out; nothing where the text is no object. */
std::optional<BusDictionary> parseJSONText(std::string_view json);

} // namespace korvane
