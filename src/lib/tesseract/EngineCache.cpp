#include "lib/tesseract/EngineCache.h"

#include <algorithm>
#include <utility>

namespace korvane {

namespace {

/** Those for the document's language, for the orientation and for another language: each takes 15
 * MB. */
constexpr std::size_t maxEngines = 3;

} // namespace

RecognitionEngine::RecognitionEngine(std::string language) : language_(std::move(language))
{
    api_.SetVariable("debug_file", "/dev/null");
    const auto mode =
        language_ == orientation ? tesseract::OEM_TESSERACT_ONLY : tesseract::OEM_LSTM_ONLY;
    isReady_ = api_.Init(nullptr, language_.c_str(), mode) == 0;
}

std::vector<std::string> RecognitionEngine::availableLanguages() const
{
    std::vector<std::string> found;
    api_.GetAvailableLanguagesAsVector(&found);
    return found;
}

RecognitionEngine* EngineCache::engine(const std::string& language)
{
    const auto found = std::ranges::find(engines_, language, &RecognitionEngine::language);
    if (found != engines_.end()) {
        std::rotate(found, found + 1, engines_.end());
        return engines_.back().get();
    }
    auto made = std::make_unique<RecognitionEngine>(language);
    if (!made->isReady()) return nullptr;
    if (engines_.size() >= maxEngines) engines_.erase(engines_.begin());
    engines_.push_back(std::move(made));
    return engines_.back().get();
}

std::vector<std::string> EngineCache::languages()
{
    // Any engine finds the data beside its own, even where it finds none of its own.
    std::vector<std::string> found = engines_.empty()
                                         ? RecognitionEngine("eng").availableLanguages()
                                         : engines_.back()->availableLanguages();
    std::erase_if(found, [](const std::string& name) {
        return name == RecognitionEngine::orientation || name == "equ" ||
               name.find('/') != std::string::npos;
    });
    std::ranges::sort(found);
    return found;
}

} // namespace korvane
