#include "recognition/LanguageMemory.h"

#include "recognition/LanguageNames.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace korvane {

namespace {

/** More than anybody prints in. */
constexpr std::size_t maxRemembered = 4;

} // namespace

void LanguageMemory::remember(const std::string& language)
{
    if (!earlier_.empty() && earlier_.front() == language) return;
    std::erase(earlier_, language);
    earlier_.insert(earlier_.begin(), language);
    if (earlier_.size() > maxRemembered) earlier_.pop_back();
}

void LanguageMemory::logMissing(const std::vector<std::string>& installed, Log& log)
{
    if (installed.empty()) {
        if (!std::exchange(isMissingAllLogged_, true))
            log.error("OCR: no language data is installed; install tesseract-ocr-eng (or the "
                      "package of your language) to recognize text");
    } else if (!users_.empty() && std::ranges::find(installed, users_.front()) == installed.end()) {
        if (!std::exchange(isMissingFirstLogged_, true))
            log.note(fmt::format("OCR: the data of your language is not installed; install {} to "
                                 "recognize text in it",
                                 packageOfLanguage(users_.front())));
    }
}

} // namespace korvane
