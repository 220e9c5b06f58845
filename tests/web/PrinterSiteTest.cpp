#include "web/PrinterSite.h"

#include "ipp/PrinterModel.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>

namespace korvane {
namespace {

using testing::HasSubstr;
using testing::Not;

const PrinterDescriptor hostile{.name = "<script>alert(1)</script> \"O'Neil\" & Co",
                                .uri = "ipp://desk.local.:8631/ipp/print?<b>",
                                .uuid = "1b4e28ba",
                                .location = "\"><img src=x>\u202Ehall",
                                .profile = PrinterProfile::ippEverywhere};

std::string pageOf(const PrinterStatus& status)
{
    return std::string(printerSite("/", hostile, status)->body.text());
}

TEST(PrinterSite, TellsWhatThePrinterIsAndHowItStandsAndNobodysMarkup)
{
    const std::string ready = pageOf({});
    EXPECT_THAT(
        ready,
        HasSubstr(
            "<h1>&lt;script&gt;alert(1)&lt;/script&gt; &quot;O&#39;Neil&quot; &amp; Co</h1>"));
    for (const char* markup : {"<script", "<img src=x", "?<b>", "\u202E"})
        EXPECT_THAT(ready, Not(HasSubstr(markup)));
    EXPECT_THAT(ready, HasSubstr("-v ipp://desk.local.:8631/ipp/print?&lt;b&gt; -m everywhere"));
    EXPECT_THAT(ready, HasSubstr("Ready to print."));
    EXPECT_THAT(pageOf({.isProcessing = true, .queuedJobs = 3}),
                HasSubstr("Working on 3 documents."));
    // As many as are opened are closed; style and links stay on this server.
    EXPECT_EQ(std::ranges::count(ready, '<'), std::ranges::count(ready, '>'));
    EXPECT_THAT(ready, Not(HasSubstr("http")));
}

/** A PNG file tells its size behind 16 bytes (ISO 15948 section 11.2.2). */
TEST(PrinterSite, ServesTheIconsInTheSizesThatAreAnnounced)
{
    for (const model::Icon& icon : model::icons) {
        const auto response = printerSite(icon.path, hostile, {});
        ASSERT_TRUE(response) << icon.path;
        EXPECT_EQ(response->contentType, "image/png");
        const auto bytes = response->body.bytes();
        EXPECT_EQ(bytes[18] << 8 | bytes[19], icon.pixels);
        EXPECT_EQ(bytes[22] << 8 | bytes[23], icon.pixels);
    }
}

TEST(PrinterSite, HasNothingElseAndNothingInTheBasicProfile)
{
    for (const char* path : {"", "/index.html", "//", "/icon-48.png/", "/../icon-48.png"})
        EXPECT_FALSE(printerSite(path, hostile, {})) << path;
    PrinterDescriptor basic = hostile;
    basic.profile = PrinterProfile::basic;
    EXPECT_FALSE(printerSite("/", basic, {}));
    EXPECT_FALSE(printerSite("/icon-48.png", basic, {}));
}

} // namespace
} // namespace korvane
