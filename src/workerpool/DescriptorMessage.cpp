#include "workerpool/DescriptorMessage.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <vector>

namespace korvane {

namespace {

/** Room for the descriptors of one message. The kernel closes those that do not fit, and sets
 *  MSG_CTRUNC. */
struct ControlBuffer {
    alignas(
        cmsghdr) std::array<char, CMSG_SPACE(WorkerMessage::maxDescriptors * sizeof(int))> bytes{};
};

void attach(msghdr& header, ControlBuffer& control,
            const std::vector<SharedDescriptor>& descriptors)
{
    if (descriptors.empty()) return;
    std::array<int, WorkerMessage::maxDescriptors> numbers{};
    std::ranges::transform(descriptors, numbers.begin(),
                           [](const SharedDescriptor& file) { return file->get(); });
    const std::size_t size = descriptors.size() * sizeof(int);
    header.msg_control = control.bytes.data();
    header.msg_controllen = CMSG_SPACE(size);
    cmsghdr* rights = CMSG_FIRSTHDR(&header);
    rights->cmsg_level = SOL_SOCKET;
    rights->cmsg_type = SCM_RIGHTS;
    rights->cmsg_len = CMSG_LEN(size);
    std::memcpy(CMSG_DATA(rights), numbers.data(), size);
}

std::vector<FileDescriptor> detach(msghdr& header)
{
    std::vector<FileDescriptor> descriptors;
    for (cmsghdr* part = CMSG_FIRSTHDR(&header); part != nullptr;
         part = CMSG_NXTHDR(&header, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) continue;
        const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i) {
            int number = -1;
            std::memcpy(&number, CMSG_DATA(part) + i * sizeof(int), sizeof number);
            descriptors.emplace_back(number);
        }
    }
    return descriptors;
}

Transfer afterError()
{
    if (errno == EINTR) return Transfer::more;
    // The socket of a process that ends with a request unread is reset.
    if (errno == ECONNRESET || errno == EPIPE) return Transfer::closed;
    return errno == EAGAIN || errno == EWOULDBLOCK ? Transfer::wouldBlock : Transfer::failed;
}

} // namespace

Transfer sendSome(int socket, const WorkerMessage& message, std::size_t& sent)
{
    FrameHeaderBytes frame = encodeHeader(message);
    const std::size_t frameSent = std::min(sent, frame.size());
    const auto payload = message.payload.bytes().subspan(sent - frameSent);
    std::array<iovec, 2> vectors{iovec{frame.data() + frameSent, frame.size() - frameSent},
                                 // sendmsg reads through the pointer only.
                                 iovec{const_cast<std::uint8_t*>(payload.data()), payload.size()}};
    msghdr header{};
    header.msg_iov = vectors.data();
    header.msg_iovlen = vectors.size();
    ControlBuffer control;
    if (sent == 0) attach(header, control, message.descriptors);
    const ssize_t count = ::sendmsg(socket, &header, MSG_NOSIGNAL);
    if (count < 0) return afterError();
    sent += static_cast<std::size_t>(count);
    return sent == frame.size() + message.payload.size() ? Transfer::done : Transfer::more;
}

Transfer receiveSome(int socket, FrameDecoder& decoder)
{
    const std::span<std::uint8_t> room = decoder.room();
    iovec vector{room.data(), room.size()};
    ControlBuffer control;
    msghdr header{};
    header.msg_iov = &vector;
    header.msg_iovlen = 1;
    header.msg_control = control.bytes.data();
    header.msg_controllen = control.bytes.size();
    const ssize_t count = ::recvmsg(socket, &header, MSG_CMSG_CLOEXEC);
    if (count < 0) return afterError();
    std::vector<FileDescriptor> descriptors = detach(header);
    if (count == 0) return Transfer::closed;
    if ((header.msg_flags & MSG_CTRUNC) != 0) return Transfer::failed;
    switch (decoder.received(static_cast<std::size_t>(count), std::move(descriptors))) {
    case FrameDecoder::Progress::needMore: return Transfer::more;
    case FrameDecoder::Progress::complete: return Transfer::done;
    case FrameDecoder::Progress::invalid: break;
    }
    return Transfer::failed;
}

} // namespace korvane
