#pragma once

#include "event/Queue.h"
#include "recognition/DocumentService.h"
#include "recognition/LanguageNames.h"

#include <unistd.h>

#include <atomic>
#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace korvane {

/** A page of 600 x 800 points, and what shows on it. */
struct FakePage {
    /** That can be copied already. */
    std::string text;
    /** That show: each one word 300 points wide, 16 high, 60 from the left; the first 400 from
     *  below. */
    std::vector<std::string> lines;
    std::string language = "eng";
    /** What the words tell when they are recognized in another language of the script. */
    std::vector<std::string> likelyLanguages = {};
    std::optional<DocumentError> readError = {};
    std::optional<DocumentError> recognitionError = {};
    bool isComplete = true;
};

/** What a test's documents are made of, and what was asked of them. */
struct FakeDocumentContent {
    std::vector<FakePage> pages;
    std::optional<DocumentError> openError;
    std::optional<DocumentError> readError;
    std::optional<PDFWriteError> writeError;
    std::optional<DocumentError> conversionError;
    /** What becomes of every raster document and of every picture. */
    std::string converted = "%PDF-converted";
    std::optional<DocumentError> decompressionError;
    /** What `selectPages` was asked for, what it writes, and why it fails, if it does. */
    std::vector<std::vector<PageRange>> selections;
    std::string selected = "%PDF-selected";
    std::optional<DocumentError> selectionError;
    /** What becomes of every compressed document. */
    std::string decompressed;
    /** Writes the searchable document. */
    std::function<void(int output)> write = [](int output) {
        std::ignore = ::write(output, "%PDF-searchable", 15);
    };
    std::vector<std::string> languages = {"deu", "eng", "fra", "rus"};
    std::optional<DocumentError> languagesError;
    /** The languages whose data cannot be read. */
    std::set<std::string> damaged;
    /** Delivers an answer; the test may do that later. */
    std::function<void(Task)> deliver = [](const Task& answer) { answer(); };

    /** The requests for text: the first page and the number of pages of each. */
    std::vector<std::pair<std::size_t, std::size_t>> reads;
    /** The languages in which each page was recognized, in order. */
    std::map<std::size_t, std::vector<std::string>> trials;
    double resolution = 0;
    /** Those that pictures were converted for. */
    std::vector<PaperSize> papers;
    int languageRequests = 0;
    std::vector<PageTextLayer> layers;
    DocumentInformation information;
};

class FakeDocument final : public OpenDocument {
public:
    explicit FakeDocument(FakeDocumentContent& content) : content_(content) {}

    std::size_t pageCount() const override { return content_.pages.size(); }

    void readPages(std::size_t first, std::size_t count,
                   DocumentCompletion<std::vector<PageInfo>> completion) override
    {
        content_.reads.emplace_back(first, count);
        std::vector<PageInfo> infos;
        std::optional<DocumentError> error = content_.readError;
        for (std::size_t page = first; page < first + count; ++page) {
            infos.push_back({.mediaBox = {0, 0, 600, 800}, .text = content_.pages[page].text});
            if (!error) error = content_.pages[page].readError;
        }
        answer<std::vector<PageInfo>>(std::move(completion), std::move(infos), error);
    }

    void recognizePage(std::size_t page, double resolution, std::string language,
                       DocumentCompletion<PageReading> completion) override
    {
        if (!*isCancelled_) content_.trials[page].push_back(language);
        content_.resolution = resolution;
        std::optional<DocumentError> error = content_.pages[page].recognitionError;
        if (content_.damaged.contains(language))
            error = DocumentError{DocumentError::Kind::recognition, "no engine"};
        answer<PageReading>(std::move(completion), read(content_.pages[page], resolution, language),
                            error);
    }

    void write(std::vector<PageTextLayer> layers, DocumentInformation information,
               SharedDescriptor output,
               std::function<void(Result<void, PDFWriteError>)> completion) override
    {
        content_.layers = std::move(layers);
        content_.information = std::move(information);
        content_.deliver([&content = content_, isCancelled = isCancelled_, output, completion] {
            if (*isCancelled) return completion(failure(PDFWriteError{}));
            if (content.writeError) return completion(failure(*content.writeError));
            content.write(output->get());
            completion({});
        });
    }

    void cancel() override { *isCancelled_ = true; }

private:
    template <typename T>
    void answer(DocumentCompletion<T> completion, T value,
                const std::optional<DocumentError>& error)
    {
        content_.deliver([isCancelled = isCancelled_, completion, value, error] {
            if (*isCancelled)
                return completion(
                    failure(DocumentError{.failure = {.kind = WorkerFailure::Kind::cancelled}}));
            if (error) return completion(failure(*error));
            completion(value);
        });
    }

    static PageReading read(const FakePage& page, double resolution, const std::string& language)
    {
        const auto pixels = [&](double points) {
            return static_cast<int>(std::lround(points * resolution / 72));
        };
        PageReading reading{.bitmap = {pixels(600), pixels(800), resolution},
                            .isComplete = page.isComplete};
        const bool isOwn = language == page.language;
        const bool isOwnScript = scriptOfLanguage(language) == scriptOfLanguage(page.language);
        const std::string misread = isOwnScript ? "~" : "#";
        for (const std::string& line : page.lines) {
            const double bottom = 400 - 16.0 * static_cast<double>(reading.lines.size());
            reading.lines.push_back({.x = 60,
                                     .y = bottom + 4,
                                     .ascent = 12,
                                     .descent = 4,
                                     .words = {{isOwn ? line : misread + line, 0, 300}}});
        }
        reading.words = 5 * static_cast<int>(page.lines.size());
        if (page.lines.empty()) return reading;
        reading.confidence = isOwn ? 95 : isOwnScript ? 84 : 30;
        reading.dictionaryWords = reading.words * (isOwn ? 5 : isOwnScript ? 2 : 0) / 5;
        if (!isOwn) reading.script = scriptOfLanguage(page.language);
        if (isOwnScript) reading.likelyLanguages = page.likelyLanguages;
        return reading;
    }

    FakeDocumentContent& content_;
    const std::shared_ptr<std::atomic<bool>> isCancelled_ =
        std::make_shared<std::atomic<bool>>(false);
};

/** Opens the same document whatever it is given. */
class FakeDocuments final : public DocumentService, public FakeDocumentContent {
public:
    void open(const DocumentFile& /*pdf*/,
              DocumentCompletion<std::shared_ptr<OpenDocument>> completion) override
    {
        deliver([this, completion] {
            if (openError) return completion(failure(*openError));
            completion(std::make_shared<FakeDocument>(*this));
        });
    }

    void convertRaster(const DocumentFile& /*raster*/, SharedDescriptor output,
                       DocumentCompletion<std::uint64_t> completion) override
    {
        write(output, converted, conversionError, completion);
    }

    void convertPicture(const DocumentFile& /*picture*/, const PaperSize& paper,
                        SharedDescriptor output,
                        DocumentCompletion<std::uint64_t> completion) override
    {
        papers.push_back(paper);
        write(output, converted, conversionError, completion);
    }

    void decompress(const DocumentFile& /*compressed*/, std::uint64_t /*room*/,
                    SharedDescriptor output, DocumentCompletion<std::uint64_t> completion) override
    {
        write(output, decompressed, decompressionError, completion);
    }

    void selectPages(const DocumentFile& /*pdf*/, std::vector<PageRange> wanted,
                     SharedDescriptor output, DocumentCompletion<std::uint64_t> completion) override
    {
        selections.push_back(std::move(wanted));
        write(output, selected, selectionError, completion);
    }

    void languages(DocumentCompletion<std::vector<std::string>> completion) override
    {
        ++languageRequests;
        deliver([this, completion] {
            if (languagesError) return completion(failure(*languagesError));
            completion(FakeDocumentContent::languages);
        });
    }

    std::size_t parallelism() const override { return 2; }

private:
    void write(const SharedDescriptor& output, const std::string& content,
               const std::optional<DocumentError>& error,
               const DocumentCompletion<std::uint64_t>& completion)
    {
        deliver([output, &content, &error, completion] {
            if (error) return completion(failure(*error));
            std::ignore = ::write(output->get(), content.data(), content.size());
            completion(content.size());
        });
    }
};

} // namespace korvane
