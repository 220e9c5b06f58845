#pragma once

#include <chrono>

namespace korvane {

/** How long this process has run on processors since its start. */
std::chrono::milliseconds processorTime();

} // namespace korvane
