#include "config/PrinterIdentity.h"

#include "support/RecordingLog.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace korvane {

namespace {

using Entry = RecordingLog::Entry;

class PrinterIdentityTest : public testing::Test {
protected:
    TemporaryFolder support_;
    std::string file_ = support_.path() / "printer-uuid";
    RecordingLog log_;
};

} // namespace

TEST_F(PrinterIdentityTest, StaysTheSameFromTheFirstLaunchOn)
{
    const std::string uuid = loadOrCreatePrinterUUID(support_.path(), log_);
    EXPECT_EQ(support_.read("printer-uuid"), uuid);
    EXPECT_EQ(loadOrCreatePrinterUUID(support_.path(), log_), uuid);
    const std::string created = "PrinterService: created new persistent UUID " + uuid + " at ";
    const std::string loaded = "PrinterService: loaded persistent UUID " + uuid + " from ";
    EXPECT_THAT(log_.entries(), testing::ElementsAre(Entry{LogLevel::normal, created + file_},
                                                     Entry{LogLevel::normal, loaded + file_}));
}

TEST_F(PrinterIdentityTest, IsTakenFromTheFileWhateverItsForm)
{
    support_.write("printer-uuid", "\u00A0\r\nnot-a-uuid \n\n");
    EXPECT_EQ(loadOrCreatePrinterUUID(support_.path(), log_), "not-a-uuid");
    EXPECT_EQ(support_.read("printer-uuid"), "\u00A0\r\nnot-a-uuid \n\n");
}

TEST_F(PrinterIdentityTest, IsMadeAnewWhereTheFileHoldsNoText)
{
    for (const std::string_view content : {"", "\n", " \t\r\n", "\xFF\xFEuuid"}) {
        SCOPED_TRACE(testing::PrintToString(content));
        log_.clear();
        support_.write("printer-uuid", content);
        const std::string uuid = loadOrCreatePrinterUUID(support_.path(), log_);
        EXPECT_EQ(support_.read("printer-uuid"), uuid);
        EXPECT_EQ(uuid.size(), 36U);
        EXPECT_THAT(log_.entries(),
                    testing::ElementsAre(
                        Entry{LogLevel::normal,
                              "PrinterService: UUID file at " + file_ + " was empty; regenerating"},
                        Entry{LogLevel::normal, "PrinterService: created new persistent UUID " +
                                                    uuid + " at " + file_}));
    }
}

TEST_F(PrinterIdentityTest, ServesForThisRunWhenItCanNeitherBeReadNorKept)
{
    support_.write("printer-uuid/inner", "a folder in the file's place");
    EXPECT_EQ(loadOrCreatePrinterUUID(support_.path(), log_).size(), 36U);
    EXPECT_THAT(log_.entries(),
                testing::ElementsAre(
                    Entry{LogLevel::error, "PrinterService: FAILED to read UUID file at " + file_ +
                                               ": Is a directory. Regenerating."},
                    Entry{LogLevel::error,
                          "PrinterService: FAILED to persist UUID at " + file_ +
                              ": Is a directory. Printer will appear as new on every launch until "
                              "this is fixed."}));
}

TEST_F(PrinterIdentityTest, IsNotReadFromAFileThatIsNoIdentityAtAll)
{
    support_.write("printer-uuid", std::string(1 << 20, 'x'));
    EXPECT_EQ(loadOrCreatePrinterUUID(support_.path(), log_).size(), 36U);
    EXPECT_THAT(log_.errors(), testing::ElementsAre("PrinterService: FAILED to read UUID file at " +
                                                    file_ + ": File too large. Regenerating."));
}

} // namespace korvane
