#pragma once

#include "workerpool/Frame.h"
#include "workerpool/WorkerMessage.h"

#include <cstddef>

namespace korvane {

/** The result of one step of sending or receiving. */
enum class Transfer {
    more,       ///< some bytes were transferred; there are more
    done,       ///< the message is complete
    wouldBlock, ///< the socket is not ready
    closed,     ///< the other side has closed the socket, between two messages
    failed,     ///< the bytes received are no message, or the socket failed
};

/** Sends what is left of `message`, of which `sent` bytes (header and payload) have been sent. The
 *  descriptors go with the first of them (unix(7), SCM_RIGHTS). */
Transfer sendSome(int socket, const WorkerMessage& message, std::size_t& sent);

/** Receives what the decoder has room for. Never blocks on a non-blocking socket. */
Transfer receiveSome(int socket, FrameDecoder& decoder);

} // namespace korvane
