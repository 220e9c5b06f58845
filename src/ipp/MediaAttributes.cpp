#include "ipp/MediaAttributes.h"

#include "ipp/AttributeBuilders.h"
#include "ipp/MediaSizes.h"

#include <cstdint>

namespace korvane::ipp {

namespace {

IPPValue sizeCollection(PaperSize size)
{
    return Collection{
        {{"x-dimension", Integer{size.width}}, {"y-dimension", Integer{size.height}}}};
}

IPPValue customSizeCollection()
{
    const PaperSize min = minCustomSize.size;
    const PaperSize max = maxCustomSize.size;
    return Collection{{{"x-dimension", RangeOfInteger{min.width, max.width}},
                       {"y-dimension", RangeOfInteger{min.height, max.height}}}};
}

IPPValue mediaCollection(IPPValue size, std::int32_t margin = 0)
{
    return Collection{{
        {"media-size", std::move(size)}, // like the margins, in hundredths of a millimeter
        {"media-type", keywordValue("stationery")},
        {"media-source", keywordValue("auto")},
        {"media-top-margin", Integer{margin}},
        {"media-bottom-margin", Integer{margin}},
        {"media-left-margin", Integer{margin}},
        {"media-right-margin", Integer{margin}},
    }};
}

} // namespace

IPPValue defaultMediaCollection()
{
    return mediaCollection(sizeCollection(mediaSizes.front().size));
}

std::vector<std::string> mediaCollectionMembers()
{
    std::vector<std::string> names;
    const auto members = std::get<Collection>(defaultMediaCollection()).members;
    for (const IPPMember& member : members) names.push_back(member.name);
    return names;
}

std::vector<std::string> mediaNames(bool withCustomSizes)
{
    std::vector<std::string> names;
    for (const MediaSize& media : mediaSizes) names.emplace_back(media.name);
    if (withCustomSizes) names.insert(names.end(), {minCustomSize.name, maxCustomSize.name});
    return names;
}

std::vector<IPPValue> readyMediaCollections()
{
    std::vector<IPPValue> collections;
    for (const MediaSize& media : mediaSizes)
        collections.push_back(mediaCollection(sizeCollection(media.size)));
    return collections;
}

std::vector<IPPValue> allMediaCollections()
{
    std::vector<IPPValue> collections;
    for (const MediaSize& media : mediaSizes) {
        for (const std::int32_t margin : mediaMargins)
            collections.push_back(mediaCollection(sizeCollection(media.size), margin));
    }
    collections.push_back(mediaCollection(customSizeCollection()));
    return collections;
}

std::vector<IPPValue> mediaSizeCollections()
{
    std::vector<IPPValue> sizes;
    for (const MediaSize& media : mediaSizes) sizes.push_back(sizeCollection(media.size));
    sizes.push_back(customSizeCollection());
    return sizes;
}

} // namespace korvane::ipp
