#pragma once

#include "ipp/IPPMessage.h"

#include <optional>
#include <span>
#include <string_view>

namespace korvane::ipp {

/** How deep collections in collections are read: media-col has two levels. */
inline constexpr std::size_t maxCollectionDepth = 8;

/**
 * Takes the collection off the front of the values of a received attribute, where it is the flat
 * run of values that it is on the wire (RFC 8010 section 3.1.6). A member with several values
 * becomes as many members. Nothing, where the values do not begin with a whole collection of at
 * most `maxCollectionDepth` levels, where a member's name is longer than 255 bytes, or where there
 * are more than 1024 values.
 */
std::optional<Collection> takeCollection(std::span<const IPPValue>& values);

/** The first value of a member; null when there is none. Lives as long as the collection. */
const IPPValue* findMember(const Collection& collection, std::string_view name);

} // namespace korvane::ipp
