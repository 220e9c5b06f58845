#pragma once

#include "agent/AgentEnvironment.h"
#include "base/FileDescriptor.h"
#include "config/SettingsStore.h"
#include "document/JobPipeline.h"
#include "ipp/IPPCodec.h"
#include "server/IPPServer.h"
#include "support/FakeDocuments.h"
#include "support/FakeNetwork.h"
#include "support/FakeNotificationCenter.h"
#include "support/FakeServiceDirectory.h"
#include "support/FakeSessionBus.h"
#include "support/ManualClock.h"
#include "support/ManualQueues.h"
#include "support/RecordingLog.h"
#include "support/TemporaryFolder.h"
#include "support/TestSpool.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/** What the user chose; the rest is the same in all tests. */
struct Chosen {
    std::string name = "Office";
    /** The folder for documents when empty. */
    std::string folder;
    int port = 8631;
    bool notes = false;
    bool everywhere = false;
};

/** Shows files, notes and warnings by remembering them. */
struct FakeDesktop final : FileViewer, NoteViewer, Alert {
    void reveal(const std::filesystem::path& file, const std::string& /*token*/,
                OpeningHandler /*handler*/) override
    {
        shown.push_back(file.string());
    }
    void show(const std::string& id, const std::string& /*token*/,
              OpeningHandler /*handler*/) override
    {
        shown.push_back(id);
    }
    void warn(const std::string& message, const std::string& information) override
    {
        shown.push_back(fmt::format("{}: {}", message, information));
    }

    std::vector<std::string> shown;
};

/** The service manager's end of its socket. */
class FakeServiceManager {
public:
    explicit FakeServiceManager(const std::filesystem::path& path)
        : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
        path.string().copy(&address.sun_path[0], sizeof address.sun_path - 1);
        EXPECT_EQ(
            ::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }

    /** What it was told since it was last asked. */
    std::vector<std::string> told()
    {
        std::vector<std::string> states;
        std::array<char, 256> state{};
        for (ssize_t size = 0; (size = ::recv(socket_.get(), state.data(), state.size(), 0)) > 0;) {
            states.emplace_back(state.data(), static_cast<std::size_t>(size));
        }
        return states;
    }

private:
    FileDescriptor socket_;
};

/** A user's machine: settings, a folder for documents, and clients that print. */
class AgentFixture : public testing::Test {
protected:
    AgentFixture() { ::setenv("TZ", "UTC", 1); }

    void choose(const Chosen& chosen) const
    {
        home.write("Korvane/settings.json",
                   fmt::format(R"({{"printerName": "{}", "saveDirectoryPath": "{}",
                                    "notesEnabled": {}, "notesFolder": "Paper",
                                    "ippPort": {}, "ippEverywhere": {}}})",
                               chosen.name,
                               chosen.folder.empty() ? scans.path().string() : chosen.folder,
                               chosen.notes, chosen.port, chosen.everywhere));
    }

    void listenerIsReady()
    {
        network.latest().tell(TCPListener::Ready{});
        queues.run();
    }

    /** A whole request as it comes over the wire. */
    static std::string request(std::uint16_t operation, const std::string& jobName = {},
                               std::string_view document = {})
    {
        IPPMessage message{.versionMajor = 2, .code = operation, .requestID = 1};
        message.groups.push_back({.tag = IPPTag::operationAttributes,
                                  .attributes = {ipp::makeTextAttribute("job-name", {jobName},
                                                                        IPPTag::nameWithoutLang)}});
        message.documentData = Data::copying(document);
        return post(message);
    }

    static std::string post(const IPPMessage& message)
    {
        const Data body = ipp::encode(message);
        return fmt::format("POST /ipp/print HTTP/1.1\r\nContent-Type: application/ipp\r\n"
                           "Content-Length: {}\r\n\r\n{}",
                           body.size(), body.text());
    }

    static std::string printJob(const std::string& jobName, std::string_view document)
    {
        return request(0x0002, jobName, document);
    }

    /** The message in the answer that a client was sent. */
    static IPPMessage answerTo(const FakeConnection& client)
    {
        const std::size_t end = client.answer.find("\r\n\r\n");
        if (end == std::string::npos) return {};
        const std::string_view body = std::string_view(client.answer).substr(end + 4);
        return ipp::decode(Data::copying(body)).value_or(IPPMessage{});
    }

    /** A client of the listener sends a request and gets its answer. */
    IPPMessage ask(FakeListener& listener, const std::string& message)
    {
        const auto client = listener.connect();
        client->clientSends(message);
        queues.run();
        client->clientFinishes();
        return answerTo(*client);
    }

    /** A printer attribute of one text. */
    static std::string printerAttributeIn(const IPPMessage& answer, std::string_view name)
    {
        const IPPAttribute* attribute = ipp::findAttribute(answer, name, IPPTag::printerAttributes);
        return attribute == nullptr ? "none" : std::get<ipp::Text>(attribute->values[0]).text;
    }

    std::string printerAttribute(std::string_view name, FakeListener& listener)
    {
        return printerAttributeIn(ask(listener, request(0x000B)), name);
    }

    /** The same as a client of the latest listener sees it. */
    std::string printerAttribute(std::string_view name)
    {
        return printerAttribute(name, network.latest());
    }

    std::string printerURI() { return printerAttribute("printer-uri-supported"); }

    ManualQueues queues;
    FakeNetwork network;
    FakeServiceDirectory directory;
    ManualClock clock;
    RecordingLog log;
    FakeDocuments documents;
    TemporaryFolder home;
    TemporaryFolder scans;
    TestSpool spool;
    FolderQueues folders{queues.background()};
    SettingsStore store{home.path(), "Office Mac"};
    /** What the user calls the machine. */
    std::string systemName = "Office Mac";
    HostNames hostNames{[this] { return systemName; }};
    ServerEnvironment environment{.queues = queues,
                                  .network = network,
                                  .clock = clock,
                                  .log = log,
                                  .spool = *spool,
                                  .documents = documents,
                                  .directory = &directory};
    OCR ocr{queues, documents, {"eng"}, log};
    JobEnvironment jobs{.queues = queues,
                        .folders = folders,
                        .spool = *spool,
                        .clock = clock,
                        .log = log,
                        .documents = documents,
                        .ocr = ocr,
                        .author = "ann"};

    FakeSessionBus bus;
    FakeNotificationCenter notifications;
    FakeDesktop screen;
    FakeServiceManager systemd{home.path() / "notify"};
    ServiceManager serviceManager{(home.path() / "notify").string()};
    /** What the Notes application answers. */
    Result<std::string, std::string> noteOutcome = "note";
    /** The notes that it was given. */
    std::vector<std::string> notes;
    DesktopEnvironment desktop{
        .bus = bus,
        .notifications = std::make_shared<NotificationManager>(notifications, screen, screen, log),
        .alert = screen,
        .serviceManager = serviceManager,
        .addNote = [this](const std::string& title, const std::string& text,
                          const std::string& folder, const std::filesystem::path& pdf) {
            notes.push_back(
                fmt::format("{}|{}|{}|{}", title, text, folder, pdf.filename().string()));
            return noteOutcome;
        }};
};

} // namespace korvane
