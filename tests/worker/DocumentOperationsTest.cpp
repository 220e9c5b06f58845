#include "platform/documents/DocumentOperations.h"

#include <gtest/gtest.h>

#include <limits>

namespace korvane::wire {
namespace {

/** Writes the value, reads it back, and writes what was read: both must be the same bytes. */
template <typename T, typename Write, typename Read>
void expectRoundTrip(const T& value, Write write, Read read)
{
    WireWriter first, second;
    write(first, value);
    const Data bytes = first.message().payload;
    WireReader reader({.payload = bytes});
    write(second, read(reader));
    EXPECT_TRUE(reader.finished());
    EXPECT_EQ(second.message().payload, bytes);
}

template <typename T, typename Read>
void expectRoundTrip(const T& value, Read read)
{
    expectRoundTrip(
        value, [](WireWriter& out, const T& each) { write(out, each); }, read);
}

TEST(DocumentOperations, ReadBackWhatTheyWrote)
{
    expectRoundTrip(Status{Status::Code::recognition, "why"}, readStatus);
    expectRoundTrip(PageInfo{{-100, 50.5, 612, 792}, 3, "Grüße\n", false}, readPageInfo);
    expectRoundTrip(std::vector<PixelBox>{{0, 1, 2, 3}, {5, 5, 5, 5}}, readBoxes);
    expectRoundTrip(RecognizedLine{"Zeile", 99.5, 7, 6}, readLine);
    expectRoundTrip(PageOrientation{2, -0.5, "Han", 3.5}, readOrientation);
    expectRoundTrip(std::vector<PageTextLayer>{{{{"one", 1, -2, 3.5}, {"two", 4, 5, 6}}, 1}, {}},
                    readLayers);
    expectRoundTrip(DocumentInformation{{"Author", "Ann"}, {"Title", ""}}, readInformation);
    expectRoundTrip(PagePicture{7, 1700, 2200, 200}, writeShape, readShape);
}

TEST(DocumentOperations, RefuseWhatMakesNoSense)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    const auto page = [](PDFRect box, int turns) {
        return [=](WireWriter& out) { write(out, PageInfo{.mediaBox = box, .rotation = turns}); };
    };
    const auto box = [](PixelBox only) {
        return [=](WireWriter& out) { write(out, std::vector{only}); };
    };
    const auto line = [](double confidence, int words, int known) {
        return [=](WireWriter& out) { write(out, RecognizedLine{"", confidence, words, known}); };
    };
    const auto shape = [](int width, int height, double resolution) {
        return [=](WireWriter& out) { writeShape(out, PagePicture{1, width, height, resolution}); };
    };
    const auto aPage = [](WireReader& in) { readPageInfo(in); };
    const auto boxes = [](WireReader& in) { readBoxes(in); };
    const auto aLine = [](WireReader& in) { readLine(in); };
    const auto aShape = [](WireReader& in) { readShape(in); };
    struct Case {
        const char* name;
        std::function<void(WireWriter&)> write;
        std::function<void(WireReader&)> read;
    };
    const Case cases[] = {
        {"a box that is no number", page({nan, 0, 1, 1}, 0), aPage},
        {"an endless box", page({0, 0, 1, -infinite}, 0), aPage},
        {"five quarter turns", page({0, 0, 1, 1}, 5), aPage},
        {"a box outside of any picture", box({-1, 0, 5, 5}), boxes},
        {"a box that could overflow", box({0, 0, std::numeric_limits<int>::max(), 5}), boxes},
        {"a box turned inside out", box({5, 0, 4, 5}), boxes},
        {"a confidence that is no number", line(nan, 0, 0), aLine},
        {"a confidence beyond certainty", line(100.5, 0, 0), aLine},
        {"more known words than words", line(90, 1, 2), aLine},
        {"fewer than no words", line(90, -1, -1), aLine},
        {"a picture without pixels", shape(0, 10, 200), aShape},
        {"a picture too large", shape(20'000, 20'000, 200), aShape},
        {"a picture whose size overflows", shape(1 << 30, 1 << 30, 200), aShape},
        {"an endless resolution", shape(10, 10, infinite), aShape},
        {"an unknown status", [](WireWriter& out) { out.u8(5), out.string(""); },
         [](WireReader& in) { readStatus(in); }},
        {"more lines than there can be",
         [](WireWriter& out) { out.count(1), out.u8(0), out.count(9); },
         [](WireReader& in) { readLayers(in); }},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        WireWriter writer;
        each.write(writer);
        WireReader reader(writer.message());
        each.read(reader);
        EXPECT_TRUE(reader.failed());
    }
}

} // namespace
} // namespace korvane::wire
