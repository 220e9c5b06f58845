#pragma once

#include "base/Log.h"
#include "event/Queue.h"
#include "status/SavedDocument.h"

#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <vector>

namespace korvane {

/** The documents that were saved last, kept in a file so that the next agent knows them. Nothing of
 *  what they say is in it. */
class DocumentHistory : public std::enable_shared_from_this<DocumentHistory> {
public:
    static constexpr std::size_t maxDocuments = 100;

    /** With what is in the file. Queue and log outlive the history. */
    DocumentHistory(std::filesystem::path file, Queue& background, Log& log);
    DocumentHistory(const DocumentHistory&) = delete;
    DocumentHistory& operator=(const DocumentHistory&) = delete;

    /** Writes the file in the background, one write for all documents that come meanwhile. */
    void add(SavedDocument document);

    /** The newest first. */
    std::vector<SavedDocument> latest(std::size_t max) const;

private:
    void load();
    void save();

    const std::filesystem::path file_;
    Queue& background_;
    Log& log_;
    mutable std::mutex mutex_;
    std::deque<SavedDocument> documents_;
    /** The file is being written, or is about to be. */
    bool isSaving_ = false;
    bool isChanged_ = false;
};

} // namespace korvane
