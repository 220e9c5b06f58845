// A worker process that misbehaves as it is told to.

#include "DoubleOperation.h"
#include "worker/WorkerMain.h"
#include "workerpool/DescriptorMessage.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

using namespace korvane;

namespace {

constexpr int agentSocket = 3;

int errorOf(bool succeeded)
{
    return succeeded ? 0 : errno;
}

int tryTo(Attempt attempt)
{
    const rlimit unlimited{RLIM_INFINITY, RLIM_INFINITY};
    const auto mapped = [](int protection, int flags, int file = -1) {
        return errorOf(::mmap(nullptr, 4096, protection, flags, file, 0) != MAP_FAILED);
    };
    switch (attempt) {
    case Attempt::startThread: return std::thread([] {}).join(), 0;
    case Attempt::loadLibrary: return ::dlopen("libutil.so.1", RTLD_NOW) != nullptr ? 0 : EINVAL;
    case Attempt::openForWriting: return errorOf(::open("/dev/null", O_WRONLY | O_CLOEXEC) >= 0);
    case Attempt::createFile:
        return errorOf(::open("/tmp", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600) >= 0);
    case Attempt::makeSocket: return errorOf(::socket(AF_INET, SOCK_STREAM, 0) >= 0);
    case Attempt::makeMemoryFile: return errorOf(::memfd_create("x", 0) >= 0);
    case Attempt::mapExecutable: return mapped(PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS);
    case Attempt::mapFileExecutable:
        return mapped(PROT_READ | PROT_EXEC, MAP_PRIVATE,
                      ::open("/etc/fonts/fonts.conf", O_RDONLY | O_CLOEXEC));
    case Attempt::shareMemory: return mapped(PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS);
    case Attempt::raiseLimit: return errorOf(::setrlimit(RLIMIT_DATA, &unlimited) == 0);
    case Attempt::runProgram: return errorOf(::execl("/bin/true", "true", nullptr) == 0);
    case Attempt::fork:
        if (::fork() == 0) ::_exit(0);
        return 0;
    case Attempt::connect: return errorOf(::connect(agentSocket, nullptr, 0) == 0);
    }
    return -1;
}

std::string surroundings()
{
    std::string text;
    for (char** entry = environ; *entry != nullptr; ++entry) text.append(*entry).append("\n");
    for (int descriptor = agentSocket + 1; descriptor < 64; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) >= 0) text += "open " + std::to_string(descriptor) + "\n";
    }
    rlimit time{};
    if (::getrlimit(RLIMIT_CPU, &time) == 0)
        text += "runs " + std::to_string(time.rlim_cur) + " s\n";
    return text;
}

void sendMessage(const WorkerMessage& message)
{
    for (std::size_t sent = 0; sendSome(agentSocket, message, sent) == Transfer::more;) {
    }
}

[[noreturn]] void hang()
{
    for (;;) ::poll(nullptr, 0, -1);
}

RequestTable makeTable()
{
    RequestTable table;
    const auto add = [&](DoubleOperation code, auto handler) {
        table.add(static_cast<std::uint16_t>(code),
                  [handler](WireReader& request, WireWriter& answer, std::chrono::milliseconds) {
                      return handler(request, answer);
                  });
    };
    using enum DoubleOperation;
    add(echo, [](WireReader& request, WireWriter& answer) {
        answer.string(request.string());
        return request.finished();
    });
    add(surroundings, [](WireReader&, WireWriter& answer) {
        answer.string(::surroundings());
        return true;
    });
    add(throwing, [](WireReader&, WireWriter&) -> bool { throw std::runtime_error("no"); });
    add(refusing, [](WireReader&, WireWriter&) { return false; });
    add(segfault, [](WireReader&, WireWriter&) {
        std::signal(SIGSEGV, SIG_DFL);
        return std::raise(SIGSEGV) == 0;
    });
    add(leaving, [](WireReader&, WireWriter&) -> bool { ::_exit(3); });
    add(hanging, [](WireReader&, WireWriter&) -> bool { hang(); });
    add(memoryBomb, [](WireReader&, WireWriter&) -> bool {
        std::vector<std::unique_ptr<char[]>> hoard;
        for (;;) hoard.push_back(std::make_unique_for_overwrite<char[]>(std::size_t{64} << 20));
    });
    add(closing, [](WireReader&, WireWriter&) -> bool {
        ::close(agentSocket);
        hang();
    });
    add(noise, [](WireReader& request, WireWriter&) -> bool {
        const std::string bytes = request.string();
        std::ignore = ::write(agentSocket, bytes.data(), bytes.size());
        hang();
    });
    add(withDescriptor, [](WireReader&, WireWriter& answer) -> bool {
        answer.descriptor(share(FileDescriptor(STDIN_FILENO)));
        sendMessage(answer.message());
        hang();
    });
    add(answeringAnother, [](WireReader&, WireWriter&) -> bool {
        sendMessage({.number = 12345});
        hang();
    });
    add(attempt, [](WireReader& request, WireWriter& answer) {
        answer.i32(tryTo(Attempt{request.u8()}));
        return request.finished();
    });
    table.add(static_cast<std::uint16_t>(telling),
              [](WireReader& request, WireWriter& answer, std::chrono::milliseconds limit) {
                  answer.u64(static_cast<std::uint64_t>(limit.count()));
                  return request.finished();
              });
    add(opening, [](WireReader& request, WireWriter& answer) {
        answer.i32(errorOf(::open(request.string().c_str(), O_RDONLY | O_CLOEXEC) >= 0));
        return request.finished();
    });
    return table;
}

} // namespace

int main()
{
    return serveWorker(makeTable());
}
