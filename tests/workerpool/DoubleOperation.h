#pragma once

#include <cstdint>

namespace korvane {

/** What the worker double does, by the code of the request. */
enum class DoubleOperation : std::uint16_t {
    echo = 10,    ///< answers with the payload's text
    surroundings, ///< answers with its environment, its descriptors from 4 on, and for how long it
                  ///< may run
    throwing,     ///< throws
    refusing,     ///< refuses
    segfault,     ///< ends by SIGSEGV
    leaving,      ///< ends with status 3
    hanging,      ///< never answers
    memoryBomb,   ///< asks for memory until there is none
    closing,      ///< closes its socket and lives on
    noise,        ///< sends the payload as it is, outside of any message
    withDescriptor,   ///< answers and sends its standard input along
    answeringAnother, ///< answers a request that nobody made
    attempt,          ///< tries what the payload names; answers with the errno value
    telling,          ///< answers with the milliseconds that the request may take
    opening,          ///< opens the file the payload names for reading; answers likewise
};

/** What a process that was taken over would try. */
enum class Attempt : std::uint8_t {
    startThread,
    loadLibrary,
    openForWriting,
    createFile,
    makeSocket,
    makeMemoryFile,
    mapExecutable,
    mapFileExecutable,
    shareMemory,
    raiseLimit,
    runProgram,
    fork,
    connect,
};

} // namespace korvane
