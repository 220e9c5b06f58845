#pragma once

#include <filesystem>

namespace korvane {

/** The socket file of the system bus, from the environment variable that D-Bus defines or the usual
 *  place; empty for an address of another kind. */
std::filesystem::path systemBusSocket();

} // namespace korvane
