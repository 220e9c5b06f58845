#include "ipp/RequestedPaper.h"

#include "ipp/Collections.h"

#include <charconv>
#include <cmath>
#include <span>
#include <variant>

namespace korvane::ipp {

namespace {

/** Ten meters, in hundredths of a millimeter. */
constexpr std::int32_t maxSide = 1'000'000;

bool isSheet(const PaperSize& size)
{
    const auto isSide = [](std::int32_t side) { return side > 0 && side <= maxSide; };
    return isSide(size.width) && isSide(size.height);
}

/** A number of units as hundredths of a millimeter; 0 if it is none. */
std::int32_t side(std::string_view text, double unit)
{
    double number = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number, std::chars_format::fixed);
    const double length = std::round(number * unit);
    if (read.ec != std::errc() || read.ptr != end || !(length > 0 && length <= maxSide)) return 0;
    return static_cast<std::int32_t>(length);
}

std::optional<PaperSize> paperSizeOf(const Collection& mediaCollection)
{
    const IPPValue* member = findMember(mediaCollection, "media-size");
    if (member == nullptr) {
        const IPPValue* name = findMember(mediaCollection, "media-size-name");
        const auto* text = name ? std::get_if<Text>(name) : nullptr;
        return text ? paperSizeOfName(text->text) : std::nullopt;
    }
    const auto* dimensions = std::get_if<Collection>(member);
    if (dimensions == nullptr) return {};
    const auto lengthOf = [&](const char* name) {
        const IPPValue* value = findMember(*dimensions, name);
        const auto* length = value ? std::get_if<Integer>(value) : nullptr;
        return length ? length->value : 0;
    };
    const PaperSize size{lengthOf("x-dimension"), lengthOf("y-dimension")};
    return isSheet(size) ? std::optional(size) : std::nullopt;
}

} // namespace

std::optional<PaperSize> paperSizeOfName(std::string_view name)
{
    constexpr double millimeter = 100;
    constexpr double inch = 2540;
    name = name.substr(name.rfind('_') + 1);
    const double unit = name.ends_with("mm") ? millimeter : name.ends_with("in") ? inch : 0;
    const std::size_t cross = name.find('x');
    if (unit == 0 || cross == std::string_view::npos) return {};
    name.remove_suffix(2);
    if (cross >= name.size()) return {};
    const PaperSize size{side(name.substr(0, cross), unit), side(name.substr(cross + 1), unit)};
    return isSheet(size) ? std::optional(size) : std::nullopt;
}

std::optional<PaperSize> requestedPaper(const IPPMessage& request)
{
    if (const auto* media = findAttribute(request, "media-col", IPPTag::jobAttributes)) {
        std::span<const IPPValue> values = media->values;
        const auto collection = takeCollection(values);
        if (collection) return paperSizeOf(*collection);
    }
    const auto* media = findAttribute(request, "media", IPPTag::jobAttributes);
    if (media == nullptr || media->values.empty()) return {};
    const auto* name = std::get_if<Text>(&media->values.front());
    return name ? paperSizeOfName(name->text) : std::nullopt;
}

} // namespace korvane::ipp
