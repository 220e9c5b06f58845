#include "worker/WorkerMain.h"

#include "lib/seccomp/Sandbox.h"
#include "workerpool/DescriptorMessage.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <new>
#include <string_view>
#include <tuple>
#include <utility>

namespace korvane {

namespace {

constexpr int agentSocket = 3;

/** Recognition takes all cores for a while; the user's programs come first. */
constexpr int niceness = 5;

/** When the system is out of memory, this process is the first to be killed: it costs a text layer.
 */
void raiseOOMScore()
{
    constexpr std::string_view maxScoreAdjustment = "1000";
    const FileDescriptor file(::open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC));
    if (file)
        std::ignore = ::write(file.get(), maxScoreAdjustment.data(), maxScoreAdjustment.size());
}

void lowerPriority()
{
    // An agent that exited before this call has closed its socket.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::setpriority(PRIO_PROCESS, 0, niceness);
    raiseOOMScore();
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

void answerRequests(const RequestTable& table)
{
    FrameDecoder decoder(WorkerMessage::maxDescriptors);
    while (receive(decoder) && send(table.answer(decoder.take()))) {
    }
}

} // namespace

int serveWorker(const RequestTable& table)
{
    lowerPriority();
    if (const auto entered = enterSandbox(); !entered) return entered.error().code;
    try {
        answerRequests(table);
    } catch (const std::bad_alloc&) {
        // The state of the libraries is undefined now: a new process takes over.
        ::_exit(ENOMEM);
    }
    return 0;
}

} // namespace korvane
