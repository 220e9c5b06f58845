#pragma once

#include "base/Result.h"
#include "base/SystemError.h"
#include "spool/JobTicket.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/** What the spool writes down of a job. */
struct JobRecord {
    JobTicket ticket;
    /** How much of the job's file is the document. */
    std::uint64_t length = 0;

    friend bool operator==(const JobRecord&, const JobRecord&) = default;
};

/** Bytes of a record: a job name has at most 64 KiB, and each of its bytes takes up to three. */
inline constexpr std::size_t maxRecordSize = std::size_t{1} << 20;

/** The record as lines of a key and a percent-encoded value. */
std::string encodeRecord(const JobRecord& record);

/** Nothing when the text is no record. */
std::optional<JobRecord> decodeRecord(std::string_view text);

/** Writes the record behind the document of an open file, so that one synchronization has both on
 *  the disk. */
Result<void, SystemError> appendRecord(int file, const JobRecord& record);

/** The record behind the document; ENODATA when there is none, or the file is not as long as it
 *  says. */
Result<JobRecord, SystemError> readAppendedRecord(int file);

} // namespace korvane
