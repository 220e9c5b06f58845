#include "agent/PrinterService.h"

#include "AgentFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <variant>

namespace korvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class PrinterServiceTest : public AgentFixture {
protected:
    PrinterServiceTest()
    {
        service->start();
        queues.run();
    }
    ~PrinterServiceTest() override
    {
        service.reset();
        queues.run();
    }

    void reload()
    {
        service->reload();
        queues.run();
    }

    /** The printer runs with the settings as they are. */
    void startPrinter()
    {
        choose({});
        reload();
        listenerIsReady();
    }

    std::shared_ptr<PrinterService> service = std::make_shared<PrinterService>(
        AgentEnvironment{store, hostNames, environment, jobs, desktop});
};

TEST_F(PrinterServiceTest, DescribesThePrinterWithItsPortOnceItIsReady)
{
    choose({});
    reload();
    EXPECT_EQ(printerURI(), "ipp://Office Mac.local./ipp/print");
    EXPECT_THAT(directory.live, IsEmpty());
    listenerIsReady();
    EXPECT_EQ(printerURI(), "ipp://Office Mac.local.:8631/ipp/print");
    EXPECT_EQ(printerAttribute("printer-name"), "Office");
    EXPECT_EQ(printerAttribute("printer-location"), "Office Mac");
    EXPECT_EQ(printerAttribute("printer-uuid"), "urn:uuid:" + home.read("Korvane/printer-uuid"));
    EXPECT_THAT(directory.live, ElementsAre("Office"));
    EXPECT_EQ(log.count("PrinterService: ready on port 8631, Bonjour advertising"), 1);
}

TEST_F(PrinterServiceTest, NamesTheHostAsItIsFoundOnTheNetwork)
{
    startPrinter();
    hostNames.setAnswering(HostNames::Answering{"desk-2", std::nullopt});
    EXPECT_EQ(printerURI(), "ipp://desk-2.local.:8631/ipp/print");
    EXPECT_EQ(printerAttribute("printer-location"), "desk-2");
    EXPECT_EQ(directory.asked.size(), 2U);
    EXPECT_EQ(directory.asked.back().txt.at("note"), "desk-2");
    EXPECT_EQ(log.count("PrinterService: this host is now desk-2.local, advertising again"), 1);
}

TEST_F(PrinterServiceTest, IsAdvertisedAgainWhenItBecomesAnotherKindOfPrinter)
{
    startPrinter();
    for (const bool everywhere : {true, false}) {
        choose({.everywhere = everywhere});
        reload();
        EXPECT_EQ(network.listeners.size(), 1U);
        EXPECT_EQ(directory.asked.back().type,
                  everywhere ? "_ipp._tcp,_universal,_print" : "_ipp._tcp,_universal");
        EXPECT_EQ(directory.asked.back().txt.contains("printer-type"), !everywhere);
    }
}

/** A second client within two seconds finds the notification of the first. */
TEST_F(PrinterServiceTest, ShowsItselfToClientsThatAskWhichPrinterItIs)
{
    choose({.everywhere = true});
    reload();
    listenerIsReady();
    const auto identify = [&](const std::string& words) {
        using ipp::makeTextAttribute;
        const IPPMessage message{
            .versionMajor = 2,
            .code = 0x003C,
            .requestID = 1,
            .groups = {
                {IPPTag::operationAttributes,
                 {makeTextAttribute("attributes-charset", {"utf-8"}, IPPTag::charset),
                  makeTextAttribute("attributes-natural-language", {"en"}, IPPTag::naturalLanguage),
                  makeTextAttribute("printer-uri", {"ipp://localhost/ipp/print"}, IPPTag::uri),
                  makeTextAttribute("message", {words}, IPPTag::textWithoutLang)}}}};
        return ask(network.latest(), post(message)).code;
    };
    EXPECT_EQ(identify("Hall?"), 0);
    EXPECT_EQ(identify("Flood"), 0);
    ASSERT_EQ(notifications.requests.size(), 1U);
    EXPECT_EQ(notifications.latest().content.title, "Here I am");
    EXPECT_EQ(notifications.latest().content.body,
              "Somebody on the network is looking for Office. The message with it: Hall?");
    queues.advance(std::chrono::seconds(2));
    EXPECT_EQ(identify("Again"), 0);
    ASSERT_EQ(notifications.requests.size(), 2U);
    EXPECT_EQ(notifications.requests[0].identifier, notifications.requests[1].identifier);
}

TEST_F(PrinterServiceTest, MovesToAnotherPort)
{
    startPrinter();
    choose({.port = 9000});
    reload();
    EXPECT_EQ(log.count("PrinterService: IPP port changed to 9000, restarting listener"), 1);
    ASSERT_EQ(network.listeners.size(), 2U);
    EXPECT_TRUE(network.listeners.front()->cancelled);
    EXPECT_THAT(directory.live, IsEmpty());
    EXPECT_EQ(printerURI(), "ipp://Office Mac.local./ipp/print");
    listenerIsReady();
    EXPECT_EQ(printerURI(), "ipp://Office Mac.local.:9000/ipp/print");
}

TEST_F(PrinterServiceTest, DisappearsWhileItsSettingsAreUnusable)
{
    startPrinter();
    choose({.name = " "});
    reload();
    EXPECT_EQ(log.lines().back(), "PrinterService: not configured, stopping");
    EXPECT_TRUE(network.latest().cancelled);
    EXPECT_THAT(directory.live, IsEmpty());
    startPrinter();
    EXPECT_EQ(network.listeners.size(), 2U);
    EXPECT_THAT(directory.live, ElementsAre("Office"));
}

TEST_F(PrinterServiceTest, TriesAgainAtTheNextReloadWhenNoListenerCanBeMade)
{
    network.refusals = {SystemError{EMFILE}};
    choose({});
    reload();
    EXPECT_THAT(log.errors(),
                ElementsAre("PrinterService: IPP listener failed to start: Too many open files"));
    EXPECT_EQ(notifications.latest().identifier, "KV_PORT_UNAVAILABLE_8631");
    EXPECT_THAT(notifications.latest().content.body, HasSubstr("(Too many open files)"));
    EXPECT_THAT(notifications.removed, IsEmpty());
    startPrinter();
    EXPECT_THAT(directory.live, ElementsAre("Office"));
    EXPECT_THAT(notifications.removed, ElementsAre("KV_PORT_UNAVAILABLE_8631"));
}

TEST_F(PrinterServiceTest, TellsTheUserOnceThatThePortIsTaken)
{
    choose({});
    reload();
    for (int i = 0; i < 2; ++i) {
        network.latest().tell(TCPListener::Failed{SystemError{EADDRINUSE}});
        queues.advance(std::chrono::seconds(1));
    }
    ASSERT_EQ(notifications.requests.size(), 1U);
    EXPECT_THAT(notifications.latest().content.body,
                StartsWith("Port 8631 is unavailable (Address already in use). The printer"));
}

TEST_F(PrinterServiceTest, MakesNotesOneAfterTheOtherWhileTheMainQueueGoesOn)
{
    choose({.notes = true});
    reload();
    listenerIsReady();
    ask(network.latest(), printJob("Letter", "%PDF letter"));
    EXPECT_EQ(notifications.latest().content.category, "KV_JOB_NOTES_ENABLED");
    const CompletedJob job{.pdfURL = "/saved/a.pdf", .plainText = "Dear", .jobName = "Letter"};
    noteOutcome = failure(std::string("no Notes"));
    service->addToNotes(job);
    service->addToNotes(job);
    EXPECT_THAT(notes, IsEmpty()) << "it waits for a queue that may block";
    ASSERT_TRUE(queues.queue("utility")->runWaiting());
    EXPECT_THAT(notes, ElementsAre("Letter|Dear|Paper|a.pdf")) << "the second waits for the first";
    noteOutcome = "note";
    queues.run();
    EXPECT_EQ(notes.size(), 2U);
    EXPECT_THAT(log.errors(), ElementsAre("PrinterService: NotesBridge failed: no Notes"));
    EXPECT_THAT(screen.shown, ElementsAre("Couldn't add to Notes: no Notes"));
    EXPECT_EQ(log.lines().back(), "PrinterService: added note for Letter");
}

/** While a folder is away the user is told once, and finds the documents where that says. */
TEST_F(PrinterServiceTest, KeepsJobsWhileTheirFolderIsAway)
{
    startPrinter();
    const auto away = scans.path() / "away";
    choose({.folder = away.string()});
    desktop.notifications->configure();
    reload();
    for (const char* name : {"Letter", "Notes"}) ask(network.latest(), printJob(name, "%PDF kept"));
    const std::string line = fmt::format(
        "PrinterService: save directory \"{}\" missing or unreadable, dropping job", away.string());
    EXPECT_EQ(log.count(line), 2);
    ASSERT_EQ(notifications.requests.size(), 1U);
    EXPECT_EQ(notifications.latest().content.title, "Couldn't save Letter");
    EXPECT_EQ(notifications.latest().content.body,
              fmt::format("The folder {} is missing. Until it is back, documents are kept in {}.",
                          away.string(), spool->unsavedFolder().string()));
    notifications.choose("KV_ACTION_REVEAL");
    EXPECT_THAT(screen.shown,
                ElementsAre((spool->unsavedFolder() / "Letter 2025-03-01 140509.pdf").string()));
    std::filesystem::create_directory(away);
    reload();
    EXPECT_EQ(scans.read("away/Letter 2025-03-01 140509.pdf"), "%PDF kept");
    EXPECT_EQ(scans.read("away/Notes 2025-03-01 140509.pdf"), "%PDF kept");
    EXPECT_TRUE(std::filesystem::is_empty(spool->unsavedFolder()));
}

TEST_F(PrinterServiceTest, TellsOfDocumentsThatCannotBeReadOnceAMinute)
{
    desktop.notifications->configure();
    startPrinter();
    for (int document = 0; document < 2; ++document)
        EXPECT_EQ(ask(network.latest(), printJob("Odd", "neither")).code, 0x040A);
    ASSERT_EQ(notifications.requests.size(), 1U);
    notifications.choose(NotificationResponse::defaultAction);
    ASSERT_EQ(screen.shown.size(), 1U);
    std::ifstream kept(screen.shown[0]);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(kept), {}), "neither");
    queues.advance(std::chrono::minutes(1));
    ask(network.latest(), printJob("Odd", "neither"));
    EXPECT_EQ(notifications.requests.size(), 2U);
}

TEST_F(PrinterServiceTest, SaysThatItsSpoolCannotBeUsed)
{
    service.reset();
    std::filesystem::remove_all(spool.state.path() / "spool");
    desktop.notifications->configure();
    choose({});
    service = std::make_shared<PrinterService>(
        AgentEnvironment{store, hostNames, environment, jobs, desktop});
    service->start();
    queues.run();
    EXPECT_EQ(log.count("PrinterService: can't use the spool: No such file or directory"), 1);
    ASSERT_EQ(notifications.requests.size(), 1U);
    EXPECT_EQ(notifications.latest().content.title, "Korvane can't take documents");
    EXPECT_EQ(ask(network.latest(), printJob("Letter", "%PDF")).code, 0x0500);
    EXPECT_EQ(log.count("IPPServer: can't take a job: No such file or directory"), 1);
}

TEST_F(PrinterServiceTest, FinishesWhatAnEarlierAgentLeftBeforeItTakesJobs)
{
    service.reset();
    spool.accept("Letter", scans.path());
    static_cast<void>(spool.accept("Minutes", scans.path())->setAside());
    const auto stray = scans.write(".~korvane-00000000-0000-4000-8000-000000000000", "half");
    choose({});
    service = std::make_shared<PrinterService>(
        AgentEnvironment{store, hostNames, environment, jobs, desktop});
    service->start();
    EXPECT_THAT(network.listeners, IsEmpty());
    queues.run();
    EXPECT_EQ(network.listeners.size(), 1U);
    EXPECT_EQ(scans.read("Letter.pdf"), "%PDF received");
    EXPECT_EQ(scans.read("Minutes.pdf"), "%PDF received");
    EXPECT_EQ(scans.entryCount(), 2);
    EXPECT_EQ(spool.jobCount(), 0);
}

TEST_F(PrinterServiceTest, SavesInTheFolderThatTheSettingsNameWhenTheJobComes)
{
    startPrinter();
    const TemporaryFolder other;
    choose({.folder = other.path().string()});
    ask(network.latest(), printJob("Letter", "%PDF letter"));
    EXPECT_EQ(other.read("Letter 2025-03-01 140509.pdf"), "%PDF letter");
    EXPECT_EQ(scans.entryCount(), 0);
}

TEST_F(PrinterServiceTest, FinishesAJobThatIsBeingReceivedWhileThePortChanges)
{
    startPrinter();
    const std::string message = printJob("Letter", "%PDF letter");
    const auto client = network.latest().connect();
    client->clientSends(message.substr(0, message.size() - 3));
    choose({.port = 9000});
    reload();
    const auto old = network.listeners.front();
    EXPECT_EQ(printerAttribute("printer-name", *old), "Office")
        << "it serves as long as it has a client";
    client->clientSends(message.substr(message.size() - 3));
    queues.run();
    client->clientFinishes();
    queues.run();
    EXPECT_EQ(printerAttribute("printer-name", *old), "none");
    EXPECT_THAT(client->answer, StartsWith("HTTP/1.1 200 OK"));
    EXPECT_TRUE(client->closed);
    EXPECT_EQ(scans.read("Letter 2025-03-01 140509.pdf"), "%PDF letter");
}

TEST_F(PrinterServiceTest, IgnoresWhatAReplacedServerStillReports)
{
    const std::vector<TCPListener::State> reports = {TCPListener::Ready{},
                                                     TCPListener::Failed{SystemError{EADDRINUSE}}};
    for (const TCPListener::State& report : reports) {
        choose({});
        reload();
        const auto client = network.latest().connect();
        network.latest().tell(report); // and before the main queue learns of it:
        choose({.port = 9000});
        systemd.told();
        log.clear();
        reload();
        EXPECT_FALSE(client->closed) << "it is left to finish";
        EXPECT_EQ(printerURI(), "ipp://Office Mac.local./ipp/print");
        EXPECT_THAT(systemd.told(), IsEmpty());
        EXPECT_THAT(notifications.requests, IsEmpty());
        EXPECT_EQ(std::ranges::count(log.lines(),
                                     "PrinterService: ready on port 8631, Bonjour advertising"),
                  std::holds_alternative<TCPListener::Ready>(report) ? 1 : 0);
        listenerIsReady();
        EXPECT_THAT(systemd.told(), ElementsAre("STATUS=Ready on port 9000"));
    }
}

TEST_F(PrinterServiceTest, DescribesAPlaceholderAndLeavesJobsToTheNextAgentWhileItEnds)
{
    startPrinter();
    const auto asking = network.latest().connect();
    const auto printing = network.latest().connect();
    log.clear();
    queues.queue("ipp.server")->async([&] {
        asking->clientSends(request(0x000B));
        printing->clientSends(printJob("Letter", "%PDF letter"));
    });
    service.reset();
    EXPECT_EQ(printerAttributeIn(answerTo(*asking), "printer-uri-supported"),
              "ipp://localhost/ipp/print");
    EXPECT_EQ(printerAttributeIn(answerTo(*asking), "printer-name"), "Korvane");
    EXPECT_EQ(answerTo(*printing).code, 0x0000);
    queues.run();
    EXPECT_EQ(scans.entryCount(), 0);
    EXPECT_EQ(spool.jobCount(), 1);
    EXPECT_THAT(log.lines(), Not(Contains(StartsWith("PrinterService"))));
}

} // namespace
} // namespace korvane
