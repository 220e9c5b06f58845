// Several clients of a whole server, over socket pairs. The input is cut at 0xFF 0xFE; of each
// piece the first byte says which client does what, and the rest is what it sends. The
// highest bit of the first one says as which profile the printer answers. Whatever they do, each
// gets one answer at most, and no connection outlives its time.

#include "base/Lifetime.h"
#include "net/SocketConnection.h"
#include "server/IPPServer.h"
#include "support/FakeDocuments.h"
#include "support/ManualClock.h"
#include "support/ManualQueues.h"
#include "support/RecordingLog.h"
#include "support/TemporaryFolder.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>
#include <string_view>

using namespace korvane;

namespace {

void require(bool condition)
{
    if (!condition) std::abort();
}

/** A hand-cranked queue that watches descriptors. */
class PolledQueue final : public SerialQueue {
public:
    void async(Task task) override { queue_.async(std::move(task)); }
    bool isCurrent() const override { return queue_.isCurrent(); }
    void sync(const Task& task) override { queue_.sync(task); }
    std::chrono::steady_clock::time_point now() const override { return queue_.now(); }
    std::unique_ptr<DelayedTask> after(std::chrono::nanoseconds delay, Task task) override
    {
        return queue_.after(delay, std::move(task));
    }
    std::unique_ptr<DescriptorWatch> watch(int descriptor) override
    {
        return std::make_unique<Watch>(*this, descriptor);
    }

    bool run()
    {
        for (Watch* watch : std::set(watches_)) {
            if (watches_.contains(watch)) watch->poll();
        }
        return queue_.runWaiting();
    }

    void advance(std::chrono::seconds time) { queue_.moveTo(queue_.now() + time); }

private:
    class Watch final : public DescriptorWatch {
    public:
        Watch(PolledQueue& queue, int descriptor) : queue_(queue), descriptor_(descriptor)
        {
            queue_.watches_.insert(this);
        }
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;
        ~Watch() override { queue_.watches_.erase(this); }

        void whenReadable(Task task) override { readable_ = std::move(task); }
        void whenWritable(Task task) override { writable_ = std::move(task); }

        void poll()
        {
            pollfd state{.fd = descriptor_, .events = POLLIN | POLLOUT, .revents = 0};
            ::poll(&state, 1, 0);
            if ((state.revents & (POLLIN | POLLHUP | POLLERR)) != 0) post(readable_);
            if ((state.revents & POLLOUT) != 0) post(writable_);
        }

    private:
        void post(Task& task)
        {
            if (task) queue_.async(lifetime_.guard(std::exchange(task, nullptr)));
        }

        PolledQueue& queue_;
        const int descriptor_;
        Lifetime lifetime_;
        Task readable_;
        Task writable_;
    };

    ManualQueue queue_;
    std::set<Watch*> watches_;
};

class FuzzQueues final : public Queues {
public:
    SerialQueue& main() override { return *main_; }
    Queue& background() override { return *background_; }
    Queue& utility() override { return *background_; }
    std::shared_ptr<SerialQueue> makeSerial(const std::string& label) override
    {
        if (label == "ipp.server") return server;
        return main_;
    }

    void run()
    {
        for (bool ran = true; ran;) {
            ran = server->run();
            ran = background_->runWaiting() || ran;
            ran = main_->runWaiting() || ran;
        }
    }

    const std::shared_ptr<PolledQueue> server = std::make_shared<PolledQueue>();

private:
    const std::shared_ptr<ManualQueue> main_ = std::make_shared<ManualQueue>();
    const std::shared_ptr<ManualQueue> background_ = std::make_shared<ManualQueue>();
};

/** A network of one listener. */
class FuzzNetwork final : public TCPNetwork {
public:
    class Listener final : public TCPListener {
    public:
        void start(StateHandler onState, ConnectionHandler onConnection) override
        {
            tell = std::move(onState);
            connected = std::move(onConnection);
        }
        void cancel() override {}
        std::optional<std::uint16_t> port() const override { return 8631; }

        StateHandler tell;
        ConnectionHandler connected;
    };

    Result<std::shared_ptr<TCPListener>, SystemError> makeListener(TCPPort /*port*/,
                                                                   SerialQueue& /*queue*/) override
    {
        return std::shared_ptr<TCPListener>(listener);
    }

    const std::shared_ptr<Listener> listener = std::make_shared<Listener>();
    /** Large, so not made anew each time. */
    static inline const std::shared_ptr<ReadBuffer> readBuffer = std::make_shared<ReadBuffer>();
};

/** A client at the other end of a socket pair. */
class Client {
public:
    Client(FuzzNetwork& network, FuzzQueues& queues)
    {
        std::array<int, 2> ends{};
        require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()) ==
                0);
        socket_ = FileDescriptor(ends[0]);
        network.listener->connected(std::make_shared<SocketConnection>(
            FileDescriptor(ends[1]), *queues.server, network.readBuffer));
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client()
    {
        receive();
        std::size_t answers = 0;
        for (std::size_t at = 0; (at = answer_.find("HTTP/1.1 ", at)) != std::string::npos; ++at)
            answers += answer_.compare(at, 12, "HTTP/1.1 100") != 0;
        require(answers <= 1);
    }

    void send(std::string_view bytes)
    {
        receive();
        static_cast<void>(::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL));
    }
    void finish() { ::shutdown(socket_.get(), SHUT_WR); }

private:
    void receive()
    {
        std::array<char, 4096> bytes{};
        for (ssize_t count = 0; (count = ::recv(socket_.get(), bytes.data(), bytes.size(), 0)) > 0;)
            answer_.append(bytes.data(), static_cast<std::size_t>(count));
    }

    FileDescriptor socket_;
    std::string answer_;
};

/** Has folders made in memory, where no disk is waited for. */
struct MemoryFolders {
    MemoryFolders() { ::setenv("TMPDIR", "/dev/shm", 1); }
};

void publish(SpooledJob& job)
{
    require(job.open().has_value());
    const auto file = job.publishAsReceived();
    require(file.has_value());
    std::filesystem::remove(*file);
}

void run(std::string_view script, Spool& spool, const std::filesystem::path& saved)
{
    const PrinterProfile profile = !script.empty() && (script.front() & 0x80) != 0
                                       ? PrinterProfile::ippEverywhere
                                       : PrinterProfile::basic;
    FuzzQueues queues;
    FuzzNetwork network;
    ManualClock clock;
    RecordingLog log;
    FakeDocuments documents;
    PrinterCallbacks printer{
        .descriptor =
            [profile] {
                return PrinterDescriptor{
                    .name = "Fuzz", .uri = "ipp://desk/ipp/print", .profile = profile};
            },
        .ticket =
            [&](const std::string& name) {
                return JobTicket{.jobName = name, .saveDirectory = saved, .fileName = "job.pdf"};
            },
        .jobAccepted = [](const std::shared_ptr<SpooledJob>& job,
                          const std::shared_ptr<PrintJob>&) { publish(*job); },
        .documentRefused = [](const std::filesystem::path&) {},
        .identify = [](const std::string& message) { require(message.size() <= 127); },
        .page = [](const std::string& path, const PrinterStatus&) -> std::optional<HTTPResponse> {
            if (path != "/") return {};
            return HTTPResponse{.status = "200 OK", .body = Data::copying("page")};
        }};
    const auto server =
        IPPServer::make(8631, std::move(printer),
                        {.queues = queues,
                         .network = network,
                         .clock = clock,
                         .log = log,
                         .spool = spool,
                         .documents = documents,
                         .limits = {.connections = 3, .memory = 4096, .smallRequest = 256}});
    require(server->start().has_value());
    network.listener->tell(TCPListener::Ready{});
    {
        std::array<std::unique_ptr<Client>, 4> clients;
        while (!script.empty()) {
            const std::string_view piece = script.substr(0, script.find("\xFF\xFE"));
            script.remove_prefix(std::min(piece.size() + 2, script.size()));
            if (piece.empty()) continue;
            const auto control = static_cast<std::uint8_t>(piece.front());
            auto& client = clients.at(control & 3);
            if (!client) client = std::make_unique<Client>(network, queues);
            switch (control >> 2 & 7) {
            case 0: client->send(piece.substr(1)); break;
            case 1:
                for (const char& byte : piece.substr(1)) {
                    client->send({&byte, 1});
                    queues.run();
                }
                break;
            case 2: client->finish(); break;
            case 3: client.reset(); break;
            case 4: queues.server->advance(std::chrono::seconds(30)); break;
            case 5: queues.server->advance(std::chrono::minutes(11)); break;
            default:
                client->send(piece.substr(1));
                queues.run();
                break;
            }
        }
        queues.run();
    }
    queues.run();
    bool isFinished = false;
    server->stop([&] { isFinished = true; });
    for (int step = 0; step < 4; ++step) {
        queues.server->advance(std::chrono::minutes(11));
        queues.run();
    }
    require(isFinished);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static const MemoryFolders folders;
    static const TemporaryFolder state;
    static const TemporaryFolder saved;
    static Spool spool(state.path(), {.reserve = 0, .refusedDocuments = 2},
                       [](const std::filesystem::path&) { return UINT64_MAX; });
    run({reinterpret_cast<const char*>(bytes), size}, spool, saved.path());
    return 0;
}
