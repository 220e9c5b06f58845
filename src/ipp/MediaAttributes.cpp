#include "ipp/MediaAttributes.h"

#include "ipp/AttributeBuilders.h"
#include "ipp/MediaSizes.h"

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

IPPValue mediaCollection(IPPValue size)
{
    return Collection{{
        {"media-size", std::move(size)}, // like the margins, in hundredths of a millimeter
        {"media-type", keywordValue("stationery")},
        {"media-source", keywordValue("auto")},
        {"media-top-margin", Integer{0}},
        {"media-bottom-margin", Integer{0}},
        {"media-left-margin", Integer{0}},
        {"media-right-margin", Integer{0}},
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

std::vector<IPPValue> mediaCollections(bool withCustomSizes)
{
    std::vector<IPPValue> collections;
    for (const MediaSize& media : mediaSizes)
        collections.push_back(mediaCollection(sizeCollection(media.size)));
    if (withCustomSizes) collections.push_back(mediaCollection(customSizeCollection()));
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
