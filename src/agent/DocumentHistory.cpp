#include "agent/DocumentHistory.h"

#include "base/AtomicFile.h"
#include "base/Data.h"
#include "base/Files.h"
#include "config/JSONText.h"
#include "status/AgentInterface.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace korvane {

namespace {

/** More than a hundred documents take, whose names and paths have 70 KiB at most. */
constexpr std::size_t maxFileSize = std::size_t{16} << 20;

constexpr const char* key = "documents";

} // namespace

DocumentHistory::DocumentHistory(std::filesystem::path file, Queue& background, Log& log)
    : file_(std::move(file)), background_(background), log_(log)
{
    load();
}

/** A file that is damaged costs the list, which the next documents begin anew. */
void DocumentHistory::load()
{
    const auto content = readFile(file_, maxFileSize);
    const auto entries = content ? parseJSONText(content->text()) : std::nullopt;
    if (!entries) return;
    for (const BusEntry& entry : *entries) {
        const auto* const rows = std::get_if<std::vector<BusDictionary>>(&entry.value);
        if (entry.key != key || rows == nullptr) continue;
        for (const BusDictionary& row : *rows) {
            if (documents_.size() == maxDocuments) return;
            if (auto document = agentInterface::decodeSavedDocument(row))
                documents_.push_back(*std::move(document));
        }
    }
}

void DocumentHistory::add(SavedDocument document)
{
    {
        const std::scoped_lock lock(mutex_);
        documents_.push_front(std::move(document));
        if (documents_.size() > maxDocuments) documents_.pop_back();
        isChanged_ = true;
        if (std::exchange(isSaving_, true)) return;
    }
    background_.async([self = shared_from_this()] { self->save(); });
}

std::vector<SavedDocument> DocumentHistory::latest(std::size_t max) const
{
    const std::scoped_lock lock(mutex_);
    const auto count = static_cast<std::ptrdiff_t>(std::min(max, documents_.size()));
    return {documents_.begin(), documents_.begin() + count};
}

void DocumentHistory::save()
{
    for (;;) {
        std::vector<BusDictionary> rows;
        {
            const std::scoped_lock lock(mutex_);
            isSaving_ = std::exchange(isChanged_, false);
            if (!isSaving_) return;
            rows = agentInterface::encodeAll(documents_);
        }
        const auto text = Data::copying(jsonText({{key, std::move(rows)}}));
        const auto written = writePrivateFileAtomically(file_, text.bytes());
        if (!written) {
            log_.error("DocumentHistory: can't write " + file_.native() + ": " +
                       written.error().description());
        }
    }
}

} // namespace korvane
