#include "platform/log/SystemLog.h"

#include "platform/log/JournalLog.h"
#include "platform/log/StreamLog.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <cstdlib>
#include <utility>

namespace korvane {

bool isJournalStream(int descriptor, std::string_view journalStream)
{
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) return false;
    return journalStream == fmt::format("{}:{}", status.st_dev, status.st_ino);
}

std::unique_ptr<Log> makeSystemLog(LogIdentity identity, int descriptor)
{
    const char* journalStream = std::getenv("JOURNAL_STREAM");
    if (journalStream != nullptr && isJournalStream(descriptor, journalStream)) {
        return std::make_unique<JournalLog>(std::move(identity));
    }
    return std::make_unique<StreamLog>(descriptor);
}

} // namespace korvane
