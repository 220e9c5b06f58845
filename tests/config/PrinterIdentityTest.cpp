#include "config/PrinterIdentity.h"

#include "support/RecordingLog.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

namespace korvane {

namespace {

using testing::ElementsAre;

class PrinterIdentityTest : public testing::Test {
protected:
    std::string load() { return loadOrCreatePrinterUUID(support_.path(), log_); }

    TemporaryFolder support_;
    std::string file_ = support_.path() / "printer-uuid";
    RecordingLog log_;
};

} // namespace

TEST_F(PrinterIdentityTest, StaysTheSameFromTheFirstLaunchOn)
{
    const std::string uuid = load();
    EXPECT_EQ(support_.read("printer-uuid"), uuid);
    EXPECT_EQ(load(), uuid);
    EXPECT_THAT(log_.lines(),
                ElementsAre("PrinterService: created new persistent UUID " + uuid + " at " + file_,
                            "PrinterService: loaded persistent UUID " + uuid + " from " + file_));
    EXPECT_THAT(log_.errors(), testing::IsEmpty());
}

TEST_F(PrinterIdentityTest, IsTakenFromTheFileWhateverItsForm)
{
    support_.write("printer-uuid", "\u00A0\r\nnot-a-uuid \n\n");
    EXPECT_EQ(load(), "not-a-uuid");
    EXPECT_EQ(support_.read("printer-uuid"), "\u00A0\r\nnot-a-uuid \n\n");
}

TEST_F(PrinterIdentityTest, IsMadeAnewWhereTheFileHoldsNoText)
{
    for (const std::string_view content : {"", "\n", " \t\r\n", "\xFF\xFEuuid"}) {
        log_.clear();
        support_.write("printer-uuid", content);
        const std::string uuid = load();
        EXPECT_EQ(support_.read("printer-uuid"), uuid);
        EXPECT_EQ(uuid.size(), 36U);
        EXPECT_EQ(log_.lines().front(),
                  "PrinterService: UUID file at " + file_ + " was empty; regenerating");
    }
}

TEST_F(PrinterIdentityTest, ServesForThisRunWhenItCanNeitherBeReadNorKept)
{
    support_.write("printer-uuid/inner", "a folder in the file's place");
    EXPECT_EQ(load().size(), 36U);
    const std::string reason = file_ + ": Is a directory. ";
    EXPECT_THAT(
        log_.errors(),
        ElementsAre("PrinterService: FAILED to read UUID file at " + reason + "Regenerating.",
                    "PrinterService: FAILED to persist UUID at " + reason +
                        "Printer will appear as new on every launch until this is fixed."));
    std::filesystem::remove_all(file_);
    support_.write("printer-uuid", std::string(1 << 20, 'x'));
    EXPECT_EQ(load().size(), 36U);
}

} // namespace korvane
