#include "ipp/RequestedPaper.h"

#include "ipp/AttributeBuilders.h"
#include "ipp/Collections.h"
#include "ipp/IPPCodec.h"

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <utility>
#include <vector>

namespace korvane {
namespace {

/** The attributes of a job, as they are when they have been received. */
IPPMessage received(std::vector<IPPAttribute> attributes)
{
    const IPPMessage sent{.groups = {{IPPTag::jobAttributes, std::move(attributes)}}};
    return ipp::decode(ipp::encode(sent)).value();
}

IPPValue sheet(std::int32_t width, std::int32_t height)
{
    return ipp::Collection{
        {{"media-color", ipp::keywordValue("white")},
         {"media-size", ipp::Collection{{{"x-dimension", ipp::Integer{width}},
                                         {"y-dimension", ipp::Integer{height}}}}}}};
}

TEST(RequestedPaper, IsThatOfTheCollectionElseOfTheName)
{
    struct Case {
        std::vector<IPPAttribute> attributes;
        std::optional<PaperSize> size;
    };
    const Case cases[] = {
        {{}, {}},
        {{ipp::keyword("media", {"iso_a4_210x297mm"})}, PaperSize{21000, 29700}},
        {{ipp::keyword("media", {"na_letter_8.5x11in"})}, PaperSize{21590, 27940}},
        {{ipp::keyword("media", {"custom_my_100.5x20mm"})}, PaperSize{10050, 2000}},
        {{ipp::keyword("media", {"letter"})}, {}},
        {{ipp::keyword("media", {"iso_a4_x297mm"})}, {}},
        {{ipp::keyword("media", {"iso_a4_-210x297mm"})}, {}},
        {{ipp::keyword("media", {"iso_a4_1e9x297mm"})}, {}},
        {{ipp::keyword("media", {"_1x99999999999999999999mm"})}, {}},
        {{ipp::keyword("media", {"xmm"})}, {}},
        {{ipp::integer("media", {4})}, {}},
        {{ipp::keyword("media", {"iso_a4_210x297mm"}), {"media-col", {sheet(10160, 15240)}}},
         PaperSize{10160, 15240}},
        {{{"media-col", {sheet(0, 15240)}}}, {}},
        {{{"media-col",
           {ipp::Collection{{{"media-size-name", ipp::keywordValue("iso_a5_148x210mm")}}}}}},
         PaperSize{14800, 21000}},
        {{{"media-col", {ipp::Collection{}}}}, {}},
    };
    for (const Case& each : cases)
        EXPECT_EQ(ipp::requestedPaper(received(each.attributes)), each.size);
}

TEST(Collections, AreRebuiltWhereTheyAreWhole)
{
    const IPPMessage message = received({{"media-col", {sheet(1, 2)}}});
    const std::vector<IPPValue>& flat = message.groups[0].attributes[0].values;
    std::span<const IPPValue> values = flat;
    EXPECT_EQ(IPPValue(ipp::takeCollection(values).value()), sheet(1, 2));
    EXPECT_TRUE(values.empty());
    for (std::size_t count = 0; count < flat.size(); ++count) {
        values = std::span(flat).first(count);
        EXPECT_FALSE(ipp::takeCollection(values)) << count;
    }
    std::vector<IPPValue> deep;
    for (std::size_t level = 0; level < 100'000; ++level) {
        deep.emplace_back(ipp::Text{"", IPPTag::begCollection});
        deep.emplace_back(ipp::Text{"member", IPPTag::memberAttrName});
    }
    values = deep;
    EXPECT_FALSE(ipp::takeCollection(values));
}

/** Each value repeats the name of its member: small requests could ask for much memory. */
TEST(Collections, AreTakenInReasonableSizesOnly)
{
    const auto isTaken = [](std::size_t nameLength, std::size_t members) {
        std::vector<IPPValue> flat = {
            ipp::Text{"", IPPTag::begCollection},
            ipp::Text{std::string(nameLength, 'n'), IPPTag::memberAttrName}};
        flat.insert(flat.end(), members, ipp::Integer{1});
        flat.emplace_back(ipp::Text{"", IPPTag::endCollection});
        std::span<const IPPValue> values = flat;
        return ipp::takeCollection(values).has_value();
    };
    EXPECT_TRUE(isTaken(255, 1021));
    EXPECT_FALSE(isTaken(256, 1));
    EXPECT_FALSE(isTaken(1, 1022));
}

} // namespace
} // namespace korvane
