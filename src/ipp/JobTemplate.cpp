#include "ipp/JobTemplate.h"

#include "ipp/AttributeBuilders.h"
#include "ipp/MediaAttributes.h"

#include <iterator>

namespace korvane::ipp {

namespace {

// Values of enums (RFC 8011 sections 5.2.6, 5.2.10 and 5.2.13, PWG 5100.13 section 8.2).
constexpr std::int32_t noFinishings = 3;
constexpr std::int32_t portrait = 3;
constexpr std::int32_t anyOrientation = 7;
constexpr std::int32_t normalQuality = 4;

} // namespace

std::vector<IPPAttribute> jobTemplateAttributes()
{
    IPPAttribute table[] = {
        integer("copies-default", {1}),
        rangeOfInteger("copies-supported", 1, 1),
        enumValue("finishings-default", {noFinishings}),
        enumValue("finishings-supported", {noFinishings}),

        // Every sheet is always there, and is printed to its edges.
        keyword("media-default", {mediaNames(false).front()}),
        keyword("media-supported", mediaNames(true)),
        keyword("media-ready", mediaNames(false)),
        {"media-col-default", {defaultMediaCollection()}},
        keyword("media-col-supported", mediaCollectionMembers()),
        {"media-col-ready", mediaCollections(false)},
        {"media-size-supported", mediaSizeCollections()},
        keyword("media-type-supported", {"stationery"}),
        keyword("media-source-supported", {"auto"}),
        integer("media-top-margin-supported", {0}),
        integer("media-bottom-margin-supported", {0}),
        integer("media-left-margin-supported", {0}),
        integer("media-right-margin-supported", {0}),

        integer("number-up-default", {1}),
        integer("number-up-supported", {1}),
        // Pages stay as they are: clients turn them themselves.
        noValue("orientation-requested-default"),
        enumValue("orientation-requested-supported", {portrait, anyOrientation}),
        keyword("output-bin-default", {"face-down"}),
        keyword("output-bin-supported", {"face-down"}),
        // Nothing that a job asks for can be asked for some of its pages only.
        keyword("overrides-supported", {"document-number", "document-numbers", "pages"}),
        boolean("page-ranges-supported", true),
        keyword("print-color-mode-default", {"auto"}),
        keyword("print-color-mode-supported", {"auto", "color"}),
        keyword("print-content-optimize-default", {"auto"}),
        keyword("print-content-optimize-supported", {"auto"}),
        enumValue("print-quality-default", {normalQuality}),
        enumValue("print-quality-supported", {normalQuality}),
        keyword("print-rendering-intent-default", {"auto"}),
        keyword("print-rendering-intent-supported", {"auto"}),
        // A picture larger than its sheet is made to fit.
        keyword("print-scaling-default", {"auto-fit"}),
        keyword("print-scaling-supported", {"auto", "auto-fit"}),
        dotsPerInch("printer-resolution-default", 300),
        dotsPerInch("printer-resolution-supported", 300),
        keyword("sides-default", {"one-sided"}),
        keyword("sides-supported", {"one-sided"}),
    };
    return {std::make_move_iterator(std::begin(table)), std::make_move_iterator(std::end(table))};
}

IPPAttribute mediaDatabase()
{
    return {"media-col-database", mediaCollections(true)};
}

} // namespace korvane::ipp
