#include "status/PortConflict.h"

#include "base/FileDescriptor.h"
#include "net/ListeningPorts.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <limits>
#include <string>
#include <string_view>

namespace korvane {

namespace {

/** For a program that takes connections and does not answer; each step of the exchange has it. */
constexpr timeval patience{.tv_sec = 1, .tv_usec = 0};

constexpr std::size_t maxAnswer = std::size_t{16} * 1024;

/** Linux has an IPv4 connection to the loopback address served by an IPv6 listener that takes both,
 *  as the agent's does. */
FileDescriptor connectTo(std::uint16_t port)
{
    FileDescriptor connection(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    for (const int direction : {SO_RCVTIMEO, SO_SNDTIMEO})
        ::setsockopt(connection.get(), SOL_SOCKET, direction, &patience, sizeof patience);
    sockaddr_in address{.sin_family = AF_INET,
                        .sin_port = htons(port),
                        .sin_addr = {htonl(INADDR_LOOPBACK)},
                        .sin_zero = {}};
    const auto* const generic = reinterpret_cast<const sockaddr*>(&address);
    return ::connect(connection.get(), generic, sizeof address) == 0 ? std::move(connection)
                                                                     : FileDescriptor();
}

/** Whether the page that a printer of this kind shows to browsers is there. */
bool isPrinter(std::uint16_t port)
{
    constexpr std::string_view request =
        "GET / HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n";
    const FileDescriptor connection = connectTo(port);
    if (!connection || ::send(connection.get(), request.data(), request.size(), MSG_NOSIGNAL) < 0) {
        return false;
    }
    std::string answer;
    std::array<char, 4096> piece{};
    while (answer.size() < maxAnswer) {
        const ssize_t count = ::recv(connection.get(), piece.data(), piece.size(), 0);
        if (count <= 0) break;
        answer.append(piece.data(), static_cast<std::size_t>(count));
    }
    return answer.starts_with("HTTP/1.1 200 ") && answer.find("Korvane") != std::string::npos;
}

std::optional<std::uint16_t> freePortAfter(std::uint16_t port, const ListeningPorts& taken)
{
    for (unsigned next = port + 1U; next <= std::numeric_limits<std::uint16_t>::max(); ++next) {
        const auto candidate = static_cast<std::uint16_t>(next);
        if (!taken.contains(candidate)) return candidate;
    }
    return {};
}

} // namespace

PortConflict examinePort(std::uint16_t port)
{
    using Holder = PortConflict::Holder;
    const ListeningPorts taken = listeningPorts();
    PortConflict conflict{.port = port, .freePort = freePortAfter(port, taken)};
    const auto holder = taken.find(port);
    if (holder == taken.end()) return conflict;
    if (holder->second == ::getuid()) {
        conflict.holder = Holder::user;
    } else {
        conflict.holder = isPrinter(port) ? Holder::anotherUsersPrinter : Holder::anotherUser;
    }
    return conflict;
}

} // namespace korvane
