#include "ipp/IPPDecodeError.h"
#include "ipp/IPPMessage.h"
#include "ipp/IPPOperation.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace korvane {
namespace {

using testing::ElementsAre;

TEST(IPPTag, IsMadeFromItsTwentyEightWireValuesAndNoOthers)
{
    std::vector<int> known;
    for (int byte = 0; byte <= 0xFF; ++byte) {
        const auto tag = makeIPPTag(static_cast<std::uint8_t>(byte));
        if (tag) known.push_back(rawValue(*tag));
    }
    EXPECT_THAT(known, ElementsAre(0x01, 0x02, 0x03, 0x04, 0x05, 0x10, 0x12, 0x13, 0x21, 0x22, 0x23,
                                   0x30, 0x31, 0x32, 0x33, 0x34, 0x35, 0x36, 0x37, 0x41, 0x42, 0x44,
                                   0x45, 0x46, 0x47, 0x48, 0x49, 0x4A));
}

TEST(IPPOperation, IsMadeFromTheEightCodesPerformedAndNamedForTheLog)
{
    std::vector<std::string> known;
    for (int code = 0; code <= 0xFFFF; ++code) {
        const auto operation = makeIPPOperation(static_cast<std::uint16_t>(code));
        if (operation)
            known.push_back(std::to_string(code) + " " + std::string(caseName(*operation)));
    }
    EXPECT_THAT(known, ElementsAre("2 printJob", "4 validateJob", "5 createJob", "6 sendDocument",
                                   "8 cancelJob", "9 getJobAttributes", "10 getJobs",
                                   "11 getPrinterAttributes"));
}

TEST(IPPDecodeError, DescribesItselfForTheLog)
{
    EXPECT_EQ(IPPDecodeError{IPPDecodeError::InvalidTag{17}}.description(), "invalidTag(17)");
    EXPECT_EQ(IPPDecodeError{IPPDecodeError::InvalidStructure{"integer length"}}.description(),
              "invalidStructure(\"integer length\")");
    EXPECT_EQ(IPPDecodeError{IPPDecodeError::Truncated{}}.description(), "truncated");
}

TEST(FindAttribute, LooksIntoTheFirstGroupOfATagOnly)
{
    IPPMessage message;
    message.groups = {
        {IPPTag::operationAttributes,
         {ipp::makeTextAttribute("job-name", {"first"}, IPPTag::nameWithoutLang),
          ipp::makeTextAttribute("job-name", {"second"}, IPPTag::nameWithoutLang)}},
        {IPPTag::jobAttributes, {}},
        {IPPTag::jobAttributes, {ipp::makeTextAttribute("media", {"auto"}, IPPTag::keyword)}},
    };
    const auto* found = ipp::findAttribute(message, "job-name", IPPTag::operationAttributes);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found, message.groups.front().attributes.data());
    EXPECT_EQ(ipp::findAttribute(message, "Job-Name", IPPTag::operationAttributes), nullptr);
    EXPECT_EQ(ipp::findAttribute(message, "media", IPPTag::jobAttributes), nullptr);
    EXPECT_EQ(ipp::findAttribute(message, "job-name", IPPTag::printerAttributes), nullptr);
}

} // namespace
} // namespace korvane
