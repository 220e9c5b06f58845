#include "support/TestDocument.h"
#include "workerpool/WireReader.h"
#include "workerpool/WireWriter.h"

#include <gtest/gtest.h>

namespace korvane {
namespace {

TEST(Wire, ReadsBackWhatWasWritten)
{
    WireWriter writer;
    writer.u8(0xFE);
    writer.u64(0xFEDCBA9876543210);
    writer.i32(-2);
    writer.f64(-0.1);
    writer.boolean(true);
    writer.string("Grüße");
    writer.document(documentFile("document"));
    WireReader reader(writer.message());
    EXPECT_EQ(reader.u8(), 0xFE);
    EXPECT_EQ(reader.u64(), 0xFEDCBA9876543210);
    EXPECT_EQ(reader.i32(), -2);
    EXPECT_EQ(reader.f64(), -0.1);
    EXPECT_TRUE(reader.boolean());
    EXPECT_EQ(reader.string(), "Grüße");
    EXPECT_FALSE(reader.finished());
    EXPECT_EQ(contentOf(reader.document()), "document");
    EXPECT_TRUE(reader.finished());
}

TEST(Wire, YieldsNothingMoreOnceSomethingDoesNotFit)
{
    struct Case {
        const char* name;
        std::string payload;
        void (*read)(WireReader&);
    };
    const std::string five("\5\0\0\0\0\0\0\0", 8);
    const std::string most(8, '\xFF');
    const Case cases[] = {
        {"a number cut short", "abc", [](WireReader& reader) { reader.i32(); }},
        {"a text longer than what is there", five + "four", [](WireReader& r) { r.string(); }},
        {"a length beyond all", most + "four", [](WireReader& r) { r.string(); }},
        {"more elements than there can be", five + std::string(39, 'x'),
         [](WireReader& r) { EXPECT_EQ(r.count(8), 0U); }},
        {"a boolean that is neither", "\2" + five, [](WireReader& r) { r.boolean(); }},
        {"a document without its descriptor", five, [](WireReader& r) { r.document(); }},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        WireReader reader({.payload = Data::copying(each.payload + std::string(99, '\1'))
                                          .slice(0, each.payload.size())});
        each.read(reader);
        EXPECT_TRUE(reader.failed());
        EXPECT_EQ(reader.u8(), 0);
        EXPECT_FALSE(reader.finished());
    }
}

} // namespace
} // namespace korvane
