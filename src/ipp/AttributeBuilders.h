#pragma once

#include "ipp/IPPMessage.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/**
 * Attributes, each builder named after the syntax of its values (RFC 8011 section 5.1), so that a
 * table made with them reads like the wire: name, syntax, values.
 */
namespace korvane::ipp {

inline IPPAttribute keyword(const char* name, std::vector<std::string> values)
{
    return makeTextAttribute(name, std::move(values), IPPTag::keyword);
}

inline IPPAttribute mimeMediaType(const char* name, std::vector<std::string> values)
{
    return makeTextAttribute(name, std::move(values), IPPTag::mimeMediaType);
}

inline IPPAttribute charset(const char* name, std::vector<std::string> values)
{
    return makeTextAttribute(name, std::move(values), IPPTag::charset);
}

inline IPPAttribute naturalLanguage(const char* name, std::vector<std::string> values)
{
    return makeTextAttribute(name, std::move(values), IPPTag::naturalLanguage);
}

inline IPPAttribute uri(const char* name, std::vector<std::string> values)
{
    return makeTextAttribute(name, std::move(values), IPPTag::uri);
}

inline IPPAttribute nameWithoutLang(const char* name, std::string value)
{
    return makeTextAttribute(name, {std::move(value)}, IPPTag::nameWithoutLang);
}

inline IPPAttribute textWithoutLang(const char* name, std::string value)
{
    return makeTextAttribute(name, {std::move(value)}, IPPTag::textWithoutLang);
}

/** Bytes that the attribute's own definition gives a meaning. */
inline IPPAttribute octetString(const char* name, std::string value)
{
    return makeTextAttribute(name, {std::move(value)}, IPPTag::octetString);
}

inline IPPAttribute integer(const char* name, const std::vector<std::int32_t>& values)
{
    return makeNumberAttribute<Integer>(name, values);
}

inline IPPAttribute enumValue(const char* name, const std::vector<std::int32_t>& values)
{
    return makeNumberAttribute<EnumValue>(name, values);
}

inline IPPAttribute boolean(const char* name, bool value)
{
    return {name, {Boolean{value}}};
}

inline IPPAttribute rangeOfInteger(const char* name, std::int32_t lower, std::int32_t upper)
{
    return {name, {RangeOfInteger{lower, upper}}};
}

inline IPPAttribute dotsPerInch(const char* name, std::int32_t dots)
{
    return {name, {Resolution{dots, dots, true}}};
}

inline IPPAttribute dateTime(const char* name, std::chrono::system_clock::time_point time)
{
    return {name, {DateTime{time}}};
}

inline IPPAttribute noValue(const char* name, IPPTag tag = IPPTag::noValue)
{
    return {name, {NoValue{tag}}};
}

inline IPPValue keywordValue(const char* text)
{
    return Text{text, IPPTag::keyword};
}

} // namespace korvane::ipp
