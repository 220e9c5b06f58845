// The yardstick for a large job: receives what one client sends over loopback, writes it to a file
// as it comes, and syncs the file.
//
//   bench_receive <port> <file>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

int main(int argc, char** argv)
{
    if (argc != 3) return 2;
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(std::strtoul(argv[1], nullptr, 10)));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) return 1;
    ::listen(listener, 1);
    std::puts("ready");
    std::fflush(stdout);

    const int peer = ::accept(listener, nullptr, nullptr);
    const int file = ::open(argv[2], O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0644);
    std::vector<char> buffer(262144);
    for (;;) {
        const ssize_t count = ::recv(peer, buffer.data(), buffer.size(), 0);
        if (count <= 0) break;
        if (::write(file, buffer.data(), static_cast<std::size_t>(count)) != count) return 1;
    }
    return ::fsync(file) == 0 ? 0 : 1;
}
