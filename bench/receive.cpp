// The yardsticks for receiving documents over loopback.
//
//   bench_receive <port> <file>
//       writes what one client sends to the file as it comes, and syncs it
//   bench_receive <port> <folder> <threads>
//       takes HTTP requests until it is ended: writes each body to a file of its own, syncs and
//       renames it, and answers then; so many requests at once

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

int listenOn(const char* port)
{
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(std::strtoul(port, nullptr, 10)));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) std::exit(1);
    ::listen(listener, 64);
    std::puts("ready");
    std::fflush(stdout);
    return listener;
}

bool writeAll(int file, std::string_view bytes)
{
    return ::write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
}

/** What the client sends, up to the end of the body that its header section announces. */
std::string receiveRequest(int peer, std::size_t& bodyStart)
{
    std::string request;
    std::vector<char> buffer(65536);
    std::size_t end = std::string::npos;
    while (request.size() < end) {
        const ssize_t count = ::recv(peer, buffer.data(), buffer.size(), 0);
        if (count <= 0) return {};
        request.append(buffer.data(), static_cast<std::size_t>(count));
        const std::size_t headersEnd = request.find("\r\n\r\n");
        if (end != std::string::npos || headersEnd == std::string::npos) continue;
        const std::string_view name = "Content-Length:";
        const std::size_t length = request.find(name);
        if (length > headersEnd) return {};
        bodyStart = headersEnd + 4;
        end = bodyStart + std::strtoul(request.c_str() + length + name.size(), nullptr, 10);
    }
    return request;
}

void serve(int listener, const std::string& folder)
{
    static std::atomic<int> files = 0;
    for (;;) {
        const int peer = ::accept(listener, nullptr, nullptr);
        std::size_t bodyStart = 0;
        const std::string request = receiveRequest(peer, bodyStart);
        if (!request.empty()) {
            const std::string name = folder + "/" + std::to_string(++files);
            const std::string temporary = name + ".part";
            const int file =
                ::open(temporary.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600);
            if (!writeAll(file, std::string_view(request).substr(bodyStart)) ||
                ::fsync(file) != 0 || ::rename(temporary.c_str(), name.c_str()) != 0)
                std::exit(1);
            ::close(file);
            writeAll(peer, "HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
        }
        ::close(peer);
    }
}

int receiveOne(int listener, const char* path)
{
    const int peer = ::accept(listener, nullptr, nullptr);
    const int file = ::open(path, O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0644);
    std::vector<char> buffer(262144);
    for (;;) {
        const ssize_t count = ::recv(peer, buffer.data(), buffer.size(), 0);
        if (count <= 0) break;
        if (!writeAll(file, {buffer.data(), static_cast<std::size_t>(count)})) return 1;
    }
    return ::fsync(file) == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3 && argc != 4) return 2;
    const int listener = listenOn(argv[1]);
    if (argc == 3) return receiveOne(listener, argv[2]);
    std::vector<std::jthread> threads;
    for (long count = std::strtol(argv[3], nullptr, 10); count > 0; --count)
        threads.emplace_back(serve, listener, std::string(argv[2]));
}
