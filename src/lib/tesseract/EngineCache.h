#pragma once

#include <tesseract/baseapi.h>

#include <memory>
#include <string>
#include <vector>

namespace korvane {

/** One Tesseract engine and the language whose data it has. */
class RecognitionEngine {
public:
    /** The data for orientation and script detection. */
    static constexpr const char* orientation = "osd";

    explicit RecognitionEngine(std::string language);

    const std::string& language() const { return language_; }

    /** False when the data of the language is missing or damaged. */
    bool isReady() const { return isReady_; }

    std::vector<std::string> availableLanguages() const;

    /** Of Tesseract itself. */
    tesseract::TessBaseAPI& api() { return api_; }

private:
    std::string language_;
    tesseract::TessBaseAPI api_;
    bool isReady_ = false;
};

/** Keeps the engines of the languages used last: making one reads megabytes of data. */
class EngineCache {
public:
    /** The engine for a language; null when its data is missing or damaged. Valid until the next
     *  call. */
    RecognitionEngine* engine(const std::string& language);

    /** The languages whose data is installed, in ascending order. */
    std::vector<std::string> languages();

private:
    /** The engine used last comes last. */
    std::vector<std::unique_ptr<RecognitionEngine>> engines_;
};

} // namespace korvane
