#pragma once

#include "base/DocumentFile.h"
#include "base/Result.h"
#include "base/SystemError.h"
#include "spool/SpoolFolders.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace korvane::unsaved {

/** Moves a job's file there, with its record. Says its name there. */
Result<std::string, SystemError>
moveJob(const SpoolFolders& folders, const std::filesystem::path& jobFile, const JobRecord& record);

/** The jobs there, by their names; records without a document are removed. */
std::vector<std::pair<std::string, JobRecord>> jobs(const SpoolFolders& folders);

/** Keeps a document that is no job, and of all these the newest only: at most so many, and so many
 *  bytes. */
Result<std::filesystem::path, SystemError>
keepDocument(const SpoolFolders& folders, const std::string& name, const DocumentFile& document,
             std::size_t maxDocuments, std::uint64_t maxBytes);

} // namespace korvane::unsaved
