#include "lib/systemd/ServiceManager.h"

#include "base/FileDescriptor.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace korvane {

void ServiceManager::status(std::string_view text) const
{
    std::string line = "STATUS=" + std::string(text);
    std::ranges::replace(line, '\n', ' ');
    tell(line);
}

void ServiceManager::tell(std::string_view state) const
{
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    if (socket_.empty() || socket_.size() >= sizeof address.sun_path) return;
    std::ranges::copy(socket_, &address.sun_path[0]);
    // A name in the abstract namespace is written with an @ for its NUL.
    if (socket_.front() == '@') address.sun_path[0] = '\0';
    const FileDescriptor sender(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ::sendto(sender.get(), state.data(), state.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
             reinterpret_cast<const sockaddr*>(&address),
             static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + socket_.size()));
}

std::string serviceManagerSocket()
{
    const char* socket = std::getenv("NOTIFY_SOCKET"); // NOLINT(concurrency-mt-unsafe)
    return socket != nullptr ? socket : "";
}

} // namespace korvane
