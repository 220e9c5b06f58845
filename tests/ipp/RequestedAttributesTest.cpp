#include "ipp/RequestedAttributes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace korvane {
namespace {

IPPMessage asking(std::vector<std::string> names)
{
    IPPMessage request;
    request.groups.push_back(
        {IPPTag::operationAttributes,
         {ipp::makeTextAttribute("requested-attributes", std::move(names), IPPTag::keyword)}});
    return request;
}

TEST(RequestedAttributes, AreAskedForByTheirNameOrThatOfTheirGroup)
{
    struct Case {
        RequestedAttributes requested;
        /** Of printer-name, media-default, job-name and media-col-database. */
        std::string wanted;
    };
    const std::vector<std::string> idOnly = {"job-id"};
    const Case cases[] = {
        {RequestedAttributes(IPPMessage{}), "PTJ-"},
        {RequestedAttributes(IPPMessage{}, idOnly), "----"},
        {RequestedAttributes(asking({"all"}), idOnly), "PTJ-"},
        {RequestedAttributes(asking({"all", "media-col-database"})), "PTJD"},
        {RequestedAttributes(asking({"printer-description", "no-such-attribute"})), "P---"},
        {RequestedAttributes(asking({"job-template", "job-name"})), "-TJ-"},
        {RequestedAttributes(asking({"job-description"})), "--J-"},
        {RequestedAttributes(asking({""})), "----"},
    };
    for (const Case& each : cases) {
        const auto mark = [&](std::string_view name, AttributeKind kind, const char* letter) {
            return each.requested.wants(name, kind) ? letter : "-";
        };
        EXPECT_EQ(mark("printer-name", AttributeKind::printerDescription, "P") +
                      std::string(mark("media-default", AttributeKind::jobTemplate, "T")) +
                      mark("job-name", AttributeKind::jobDescription, "J") +
                      mark("media-col-database", AttributeKind::onlyByName, "D"),
                  each.wanted);
    }
}

} // namespace
} // namespace korvane
