#include "config/JSONText.h"
#include "net/ListeningPorts.h"
#include "status/AgentInterface.h"
#include "status/StatusWords.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace korvane {
namespace {

using Phase = PrinterState::Phase;
using Holder = PortConflict::Holder;
using testing::ElementsAre;
using testing::Pair;

PrinterState inPhase(Phase phase, std::string networkName = {})
{
    return {.phase = phase,
            .problem = "No save folder is chosen",
            .port = 8631,
            .networkName = std::move(networkName)};
}

TEST(StatusWords, SayHowThePrinterStandsAndWhatToDo)
{
    struct {
        Result<PrinterState, AgentAbsence> printer;
        words::Surroundings surroundings;
        std::string words;
    } const cases[] = {
        {inPhase(Phase::ready, "Desk"), {}, "Ready: phones on this network see 'Desk'"},
        {inPhase(Phase::ready), {}, "Ready, but not announced on the network yet"},
        {inPhase(Phase::ready, "Desk"),
         {.isOnNetwork = false},
         "Ready, but this computer is not on a network"},
        {inPhase(Phase::starting), {}, "Starting"},
        {inPhase(Phase::notConfigured), {}, "Not set up: No save folder is chosen"},
        {inPhase(Phase::portUnavailable), {}, "Port 8631 is not available"},
        {inPhase(Phase::portUnavailable),
         {.conflict = PortConflict{8631, Holder::anotherUsersPrinter, 8632}},
         "Port 8631 is in use by another user's printer: use 8632"},
        {inPhase(Phase::portUnavailable),
         {.conflict = PortConflict{8631, Holder::anotherUser, 8633}},
         "Port 8631 is in use by another user's program: use 8633"},
        {inPhase(Phase::portUnavailable),
         {.conflict = PortConflict{8631, Holder::user}},
         "Port 8631 is in use by another of your programs"},
        {failure(AgentAbsence::notRunning), {}, "The printer is not running"},
        {failure(AgentAbsence::noAnswer), {}, "The printer is running but does not answer"}};
    for (const auto& [printer, surroundings, words] : cases)
        EXPECT_EQ(words::describe(printer, surroundings), words);
}

TEST(StatusWords, SayHowJobsAndDocumentsAre)
{
    EXPECT_EQ(words::describe(JobProgress{}), "Waiting");
    EXPECT_EQ(words::describe(JobProgress{.message = "Recognizing page 3 of 12", .pages = 12}),
              "Recognizing page 3 of 12");
    EXPECT_EQ(words::describe(JobProgress{.pagesCompleted = 12, .pages = 12}), "Saving");
    EXPECT_EQ(words::describe(SavedDocument{}), "Saved as it was received");
    EXPECT_EQ(words::describe(SavedDocument{.pages = 1, .words = 317}), "1 page, 317 words");
    EXPECT_EQ(words::describe(SavedDocument{.pages = 2, .words = 1, .language = "de"}),
              "2 pages, 1 word, de");
}

TEST(AgentInterface, TellsTheSameOverTheBusAndInAFile)
{
    const PrinterState state{
        Phase::portUnavailable, "Address already in use", 8631, "Desk", "Desk #2", "desk"};
    const SavedDocument document{"Brief \"ß\"\n", 1'795'465'248, "/a/b.pdf", 3, 512, "de"};
    const JobProgress job{std::uint64_t{1} << 40, "Letter", "Saving", 2, 3};
    const auto inFile = [](const BusDictionary& entries) {
        return parseJSONText(jsonText(entries)).value_or(BusDictionary());
    };
    using namespace agentInterface;
    EXPECT_EQ(decodePrinterState(encode(state)), state);
    EXPECT_EQ(decodePrinterState(inFile(encode(state))), state);
    EXPECT_EQ(decodeSavedDocument(inFile(encode(document))), document);
    EXPECT_EQ(decodeJobProgress(inFile(encode(job))), job);
    EXPECT_EQ(decodeJobProgress({}), JobProgress());
}

TEST(AgentInterface, TakesNoMemberOfAnotherTypeOrSize)
{
    const BusEntry wrong[] = {{"pages", std::string("3")}, {"pages", true},
                              {"pages", std::int64_t{-1}}, {"words", std::uint64_t{1} << 32},
                              {"name", std::int64_t{1}},   {"path", {}}};
    for (const BusEntry& entry : wrong)
        EXPECT_FALSE(agentInterface::decodeSavedDocument({entry})) << entry.key;
    EXPECT_FALSE(agentInterface::decodePrinterState({{"State", std::string("happy")}}));
    EXPECT_FALSE(agentInterface::decodePrinterState({}));
}

TEST(ListeningPorts, AreReadFromTheKernelsTables)
{
    // Listening on 8631 and 631, and a connection of port 8080; then garbage.
    const std::string table =
        "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  "
        "timeout\n"
        "   0: 00000000:21B7 00000000:0000 0A 00000000:00000000 00:00000000 00000000  1001 0 17 1\n"
        "   1: 0100007F:0277 00000000:0000 0A 00000000:00000000 00:00000000 00000000     0 0 18 1\n"
        "   2: 0100007F:1F90 0100007F:9999 01 00000000:00000000 00:00000000 00000000  1002 0 19 1\n"
        "   3: 0100007F 0A\n\n";
    const std::string tableOfIPv6 =
        "   0: 00000000000000000000000000000000:21B8 00000000000000000000000000000000:0000 0A "
        "00000000:00000000 00:00000000 00000000  1003        0 20 1\n";
    ListeningPorts ports;
    addListeningPorts(table, ports);
    addListeningPorts(tableOfIPv6, ports);
    EXPECT_THAT(ports, ElementsAre(Pair(631, 0), Pair(8631, 1001), Pair(8632, 1003)));
}

} // namespace
} // namespace korvane
