#include "agent/AgentObject.h"

#include "base/Clock.h"
#include "status/AgentInterface.h"
#include "support/FakeSessionBus.h"
#include "support/ManualClock.h"
#include "support/ManualQueues.h"
#include "support/RecordingLog.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace korvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Phase = PrinterState::Phase;

/** The agent's object on a bus, and somebody who asks it. */
class AgentObjectTest : public testing::Test {
protected:
    BusValue property(const std::string& name) const
    {
        const auto& properties = bus.offered.front()->properties;
        return std::ranges::find(properties, name, &BusProperty::name)->get();
    }

    std::vector<JobProgress> jobs() const
    {
        std::vector<JobProgress> jobs;
        const BusValue rows = property("Jobs");
        for (const auto& row : std::get<std::vector<BusDictionary>>(rows))
            jobs.push_back(*agentInterface::decodeJobProgress(row));
        return jobs;
    }

    /** The names of the latest documents. */
    std::vector<std::string> documents(std::uint32_t max) const
    {
        const BusReply reply = bus.offered.front()->methods.front().call({max});
        std::vector<std::string> names;
        for (const auto& row : *busArgument<std::vector<BusDictionary>>(*reply, 0))
            names.push_back(agentInterface::decodeSavedDocument(row)->name);
        return names;
    }

    /** The signals that are sent within a second. */
    std::vector<std::string> signals()
    {
        queues.run();
        queues.advance(1s);
        std::vector<std::string> names;
        for (const BusEmission& emission : bus.emitted) names.push_back(emission.member);
        bus.emitted.clear();
        return names;
    }

    std::shared_ptr<PrintJob> printJob(const std::string& name)
    {
        auto job = std::make_shared<PrintJob>(JobOrigin{.name = name}, clock);
        status->jobs().add(job);
        return job;
    }

    ManualQueues queues;
    ManualClock clock;
    RecordingLog log;
    FakeSessionBus bus;
    TemporaryFolder state;
    std::shared_ptr<AgentStatus> status =
        AgentStatus::make(queues, state.path() / "documents.json", log);
    AgentObject object{bus, queues.main(), status};
};

TEST_F(AgentObjectTest, TellsOfThePrinterAndOnceOfChangesThatComeTogether)
{
    EXPECT_EQ(property("State"), BusValue(std::string("starting")));
    EXPECT_THAT(signals(), IsEmpty());
    PrinterState printer{.port = 8631, .printerName = "Desk"};
    status->setPrinter(printer);
    printer.phase = Phase::ready;
    status->setPrinter(printer);
    EXPECT_EQ(property("State"), BusValue(std::string("ready"))) << "for who asks at once";
    queues.run();
    queues.advance(1s);
    ASSERT_THAT(bus.emitted, SizeIs(1));
    EXPECT_EQ(bus.emitted[0].interface, "org.freedesktop.DBus.Properties");
    const BusDictionary changes = {{"State", std::string("ready")},
                                   {"Port", std::uint16_t{8631}},
                                   {"PrinterName", std::string("Desk")}};
    EXPECT_EQ(bus.emitted[0].arguments.at(1), BusValue(changes));
    bus.emitted.clear();
    status->setPrinter(printer);
    printer.phase = Phase::starting;
    status->setPrinter(printer);
    printer.phase = Phase::ready;
    status->setPrinter(printer);
    EXPECT_THAT(signals(), IsEmpty()) << "it is as it was";
}

TEST_F(AgentObjectTest, ListsJobsUntilTheyEnd)
{
    const auto letter = printJob("Letter");
    const auto invoice = printJob("Invoice");
    letter->process(12);
    letter->completePage();
    EXPECT_THAT(signals(), ElementsAre("JobsChanged"));
    EXPECT_THAT(jobs(), ElementsAre(JobProgress{1, "Letter", "Recognizing page 2 of 12", 1, 12},
                                    JobProgress{2, "Invoice", "", 0, 0}));
    letter->complete();
    EXPECT_TRUE(invoice->cancel());
    EXPECT_THAT(signals(), ElementsAre("JobsChanged"));
    EXPECT_THAT(jobs(), IsEmpty());
    for (int number = 0; number < 300; ++number) printJob("Many");
    EXPECT_THAT(signals(), ElementsAre("JobsChanged"));
    EXPECT_THAT(jobs(), SizeIs(256)) << "however many there are";
}

TEST_F(AgentObjectTest, RemembersTheLatestDocumentsForTheNextAgent)
{
    for (int number = 0; number < 120; ++number)
        status->addDocument({.name = std::to_string(number), .path = "/a.pdf", .pages = 2});
    EXPECT_THAT(signals(), ElementsAre("DocumentsChanged"));
    EXPECT_THAT(documents(2), ElementsAre("119", "118"));
    EXPECT_THAT(documents(1000), SizeIs(100));
    EXPECT_EQ(state.entryCount(), 1);

    const auto next = AgentStatus::make(queues, state.path() / "documents.json", log);
    EXPECT_EQ(next->documents().latest(1000), status->documents().latest(1000));
    state.write("documents.json", R"({"documents": [{"name": "kept"}, {"name": 1}, 2]})");
    const auto damaged = AgentStatus::make(queues, state.path() / "documents.json", log);
    EXPECT_THAT(damaged->documents().latest(9), ElementsAre(SavedDocument{.name = "kept"}));
}

} // namespace
} // namespace korvane
