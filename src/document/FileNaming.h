#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace korvane {

/** The job name as part of a file name: without the ten characters that some file system refuses,
 *  at most 80 characters, and "Print Job" where nothing is left. */
std::string sanitizedJobName(std::string_view jobName);

/**
 * The name of the file that a job started at this moment is saved under, for example
 * "Quarterly report 2025-03-07 091502.pdf" in the user's local time. It fits into the 255 bytes
 * that a file name may have, cut between characters where it must be.
 */
std::string fileName(std::string_view jobName, std::chrono::system_clock::time_point start);

} // namespace korvane
