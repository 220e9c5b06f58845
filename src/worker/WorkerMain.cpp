#include "worker/WorkerMain.h"

#include "platform/sandbox/Sandbox.h"
#include "platform/wire/DescriptorMessage.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <new>
#include <string_view>
#include <utility>

namespace korvane {

namespace {

constexpr int agentSocket = 3;

/** Recognition makes the machine busy for a while; who works on it does not notice. */
constexpr int niceness = 5;

/** When memory runs short, this process is the first to go: it costs a text layer. */
void offerMemory()
{
    constexpr std::string_view mostWilling = "1000";
    const FileDescriptor file(::open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC));
    if (file) static_cast<void>(::write(file.get(), mostWilling.data(), mostWilling.size()));
}

void standBack()
{
    // An agent that was gone before this call is seen by its closed socket.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::setpriority(PRIO_PROCESS, 0, niceness);
    offerMemory();
}

bool receive(FrameDecoder& decoder)
{
    Transfer transfer = Transfer::more;
    while (transfer == Transfer::more) transfer = receiveSome(agentSocket, decoder);
    return transfer == Transfer::done;
}

bool send(const WorkerMessage& message)
{
    Transfer transfer = Transfer::more;
    for (std::size_t sent = 0; transfer == Transfer::more;)
        transfer = sendSome(agentSocket, message, sent);
    return transfer == Transfer::done;
}

void answerRequests(const OperationTable& operations)
{
    FrameDecoder decoder(WorkerMessage::maximumDescriptors);
    while (receive(decoder) && send(operations.answer(decoder.take()))) {
    }
}

} // namespace

int serveWorker(const OperationTable& operations)
{
    standBack();
    if (const auto entered = enterSandbox(); !entered) return entered.error().code;
    try {
        answerRequests(operations);
    } catch (const std::bad_alloc&) {
        // What the libraries hold by now is anybody's guess. A new process begins with nothing.
        ::_exit(ENOMEM);
    }
    return 0;
}

} // namespace korvane
