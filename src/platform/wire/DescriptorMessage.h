#pragma once

#include "platform/base/FileDescriptor.h"
#include "platform/wire/FrameDecoder.h"
#include "platform/wire/WorkerMessage.h"

#include <cstddef>

namespace korvane {

/** How a step of sending or receiving came out. */
enum class Transfer {
    more,       ///< some bytes went; there is more to do
    done,       ///< the message is whole
    wouldBlock, ///< the socket is not ready
    ended,      ///< the other side has closed the socket, between two messages
    broken,     ///< what came is no message, or the socket failed
};

/** Sends what is left of `message`, of which `sent` bytes (header and payload) have gone. The
 *  descriptors go with the first of them. */
Transfer sendSome(int socket, const WorkerMessage& message, std::size_t& sent);

/** Receives what the decoder has room for. Never blocks on a non-blocking socket. */
Transfer receiveSome(int socket, FrameDecoder& decoder);

} // namespace korvane
