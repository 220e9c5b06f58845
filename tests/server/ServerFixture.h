#pragma once

#include "base/DocumentMapping.h"
#include "document/FileNaming.h"
#include "ipp/IPPCodec.h"
#include "server/IPPServer.h"
#include "support/FakeDocuments.h"
#include "support/FakeNetwork.h"
#include "support/FakeNetworkPaths.h"
#include "support/FakeServiceDirectory.h"
#include "support/ManualClock.h"
#include "support/ManualQueues.h"
#include "support/RecordingLog.h"
#include "support/TestSpool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace korvane {

constexpr std::uint16_t printerPort = 8631;

/** A job that the server has taken: its name and its document. */
struct TakenJob {
    std::string name;
    std::string document;

    friend bool operator==(const TakenJob&, const TakenJob&) = default;
};

/** A server on manual queues, with every peer played by the test. */
class ServerFixture : public testing::Test {
protected:
    std::shared_ptr<IPPServer> makeServer(std::uint16_t port)
    {
        PrinterCallbacks printer{
            .descriptor =
                [this] {
                    return PrinterDescriptor{.name = printerName,
                                             .uri = "ipp://desk/print",
                                             .uuid = "0a0b",
                                             .location = "desk",
                                             .profile = profile};
                },
            .ticket =
                [](const std::string& name) {
                    return JobTicket{.jobName = name, .fileName = sanitizedJobName(name) + ".pdf"};
                },
            .jobAccepted =
                [this](const std::shared_ptr<SpooledJob>& job,
                       const std::shared_ptr<PrintJob>& printJob) {
                    keep(*job);
                    printJobs.push_back(printJob);
                },
            .documentRefused =
                [this](const std::filesystem::path& path) { refused.push_back(path); },
            .identify = [this](const std::string& message) { identified.push_back(message); },
            .page = [](const std::string& path,
                       const PrinterStatus& status) -> std::optional<HTTPResponse> {
                if (path != "/") return {};
                return HTTPResponse{.status = "200 OK",
                                    .contentType = "text/html",
                                    .body = Data::copying(status.isProcessing ? "busy" : "idle")};
            }};
        auto made = IPPServer::make(port, std::move(printer),
                                    {.queues = queues,
                                     .network = network,
                                     .clock = clock,
                                     .log = log,
                                     .spool = *spool,
                                     .documents = converter,
                                     .directory = &directory,
                                     .paths = &paths,
                                     .limits = limits});
        made->onReady = [this](std::uint16_t ready) { readyPorts.push_back(ready); };
        made->onPortUnavailable = [this](std::uint16_t, const SystemError& error) {
            unavailable.push_back(error.code);
        };
        return made;
    }

    void keep(const SpooledJob& job)
    {
        jobs.push_back(
            {job.ticket().jobName, std::string(mapDocument(job.open().value()).value().text())});
    }

    void startListening()
    {
        server = makeServer(printerPort);
        ASSERT_TRUE(server->start());
        tell(TCPListener::Ready{});
    }

    void tell(const TCPListener::State& state)
    {
        network.latest().tell(state);
        queues.run();
    }

    void stop()
    {
        server->stop([this] { ++timesFinished; });
    }

    std::shared_ptr<FakeConnection> connect(const std::string& peer = "desk")
    {
        return network.latest().connect(peer);
    }

    std::shared_ptr<FakeConnection> connectSending(std::string_view bytes,
                                                   const std::string& peer = "desk")
    {
        auto client = connect(peer);
        client->clientSends(bytes);
        return client;
    }

    /** All that a client is sent that sends this and waits for its answer. */
    std::string answerTo(std::string_view request, const std::string& peer = "desk")
    {
        const auto client = connectSending(request, peer);
        queues.run();
        EXPECT_TRUE(client->finishedSending);
        client->clientFinishes();
        EXPECT_TRUE(client->closed);
        return client->answer;
    }

    static IPPMessage request(std::uint16_t code, std::vector<IPPAttribute> attributes = {},
                              std::string_view document = {})
    {
        IPPMessage message{.versionMajor = 1, .versionMinor = 1, .code = code, .requestID = 77};
        message.groups.push_back({IPPTag::operationAttributes, std::move(attributes)});
        message.documentData = Data::copying(document);
        return message;
    }

    static std::string head(std::size_t bodyLength)
    {
        return "POST / HTTP/1.1\r\nContent-Type: application/ipp\r\nContent-Length: " +
               std::to_string(bodyLength) + "\r\n\r\n";
    }

    static std::string post(const IPPMessage& message)
    {
        const Data body = ipp::encode(message);
        return head(body.size()) + std::string(body.text());
    }

    /** The IPP response inside "200 OK". */
    static IPPMessage responseIn(std::string_view answer)
    {
        EXPECT_TRUE(answer.starts_with("HTTP/1.1 200 OK\r\n")) << answer;
        const std::size_t body = answer.find("\r\n\r\n");
        if (body == std::string_view::npos) return {};
        return ipp::decode(Data::copying(answer.substr(body + 4))).value_or(IPPMessage{});
    }

    IPPMessage ask(const IPPMessage& message) { return responseIn(answerTo(post(message))); }

    static std::vector<IPPAttribute> named(const std::string& name)
    {
        return {ipp::makeTextAttribute("job-name", {name}, IPPTag::nameWithoutLang)};
    }

    static std::vector<IPPAttribute> jobPart(IPPValue id, std::optional<bool> last = {})
    {
        std::vector<IPPAttribute> attributes = {{"job-id", {std::move(id)}}};
        if (last) attributes.push_back({"last-document", {ipp::Boolean{*last}}});
        return attributes;
    }

    /** The job group of a response in words: "id state reason uri". */
    static std::string jobOf(const IPPMessage& response)
    {
        const auto find = [&](std::string_view name) {
            return ipp::findAttribute(response, name, IPPTag::jobAttributes);
        };
        if (find("job-id") == nullptr) return "none";
        return std::to_string(std::get<ipp::Integer>(find("job-id")->values[0]).value) + " " +
               std::to_string(std::get<ipp::EnumValue>(find("job-state")->values[0]).value) + " " +
               std::get<ipp::Text>(find("job-state-reasons")->values[0]).text + " " +
               std::get<ipp::Text>(find("job-uri")->values[0]).text;
    }

    static std::string completed(int id)
    {
        return std::to_string(id) + " 9 job-completed-successfully ipp://desk/print/" +
               std::to_string(id);
    }

    ManualQueues queues;
    FakeNetwork network;
    FakeServiceDirectory directory;
    FakeNetworkPaths paths;
    ManualClock clock;
    RecordingLog log;
    TestSpool spool;
    FakeDocuments converter;
    ConnectionTable::Limits limits;
    std::string printerName = "Office";
    PrinterProfile profile = PrinterProfile::basic;
    std::vector<std::uint16_t> readyPorts;
    std::vector<int> unavailable;
    std::vector<TakenJob> jobs;
    std::vector<std::shared_ptr<PrintJob>> printJobs;
    std::vector<std::filesystem::path> refused;
    std::vector<std::string> identified;
    int timesFinished = 0;
    std::shared_ptr<IPPServer> server;
};

} // namespace korvane
