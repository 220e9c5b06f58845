#pragma once

#include "recognition/DocumentService.h"
#include "workerpool/WorkerService.h"

#include <memory>
#include <mutex>
#include <string>
#include <variant>
#include <vector>

namespace korvane {

/** The languages whose data is installed, which a worker is asked for once. Used on any thread. */
class InstalledLanguages : public std::enable_shared_from_this<InstalledLanguages> {
public:
    using Names = std::vector<std::string>;

    /** As DocumentService::languages does. */
    void get(WorkerService& workers, DocumentCompletion<Names> completion);

private:
    /** Nobody has asked, or the answer was empty: data may be installed later. */
    struct Unknown {};
    struct Asked {
        std::vector<DocumentCompletion<Names>> waiting;
    };

    void ask(WorkerService& workers);
    void answered(const DocumentAnswer<Names>& names);

    std::mutex mutex_;
    std::variant<Unknown, Asked, Names> state_;
};

} // namespace korvane
