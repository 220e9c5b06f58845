#pragma once

#include "platform/documents/DocumentService.h"

#include <unistd.h>

#include <chrono>
#include <cmath>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

/** A page of 600 x 800 points, and what shows on it. */
struct FakePage {
    /** That can be copied already. */
    std::string text;
    /** That show: each 300 points wide, 16 high, 60 from the left; the first 400 from below. */
    std::vector<std::string> lines;
    std::string language = "eng";
    /** The languages that look alike to the recogniser. */
    std::string script = "Latin";
    /** The quarter turns that set the page upright. */
    int turns = 0;
    std::optional<DocumentError> renderError;
    std::optional<DocumentError> recognitionError;
    /** What laying it out costs the workers. */
    std::chrono::seconds work{0};
};

/** What a test's documents are made of, and what was asked of them. */
struct FakeDocumentContent {
    std::vector<FakePage> pages;
    std::optional<DocumentError> openError;
    std::optional<DocumentError> readError;
    std::optional<PDFWriteError> writeError;
    std::vector<std::string> languages = {"deu", "eng", "fra", "rus"};
    /** The languages whose data cannot be read. */
    std::set<std::string> damaged;

    std::mutex mutex;
    /** How many lines were read in each language. */
    std::map<std::string, int> linesRead;
    int layOuts = 0;
    int orientations = 0;
    std::vector<PageTextLayer> layers;
    DocumentInformation information;
};

class FakeDocument final : public OpenDocument {
public:
    explicit FakeDocument(FakeDocumentContent& content) : content_(content) {}

    std::size_t pageCount() const override { return content_.pages.size(); }

    std::future<DocumentAnswer<std::vector<PageInfo>>> readPages(std::size_t first,
                                                                 std::size_t count) override
    {
        std::vector<PageInfo> infos;
        for (std::size_t page = first; page < first + count; ++page)
            infos.push_back({.mediaBox = {0, 0, 600, 800}, .text = content_.pages[page].text});
        return answer(std::move(infos), content_.readError);
    }

    std::future<DocumentAnswer<LaidOutPage>> layOut(std::size_t page, double resolution) override
    {
        const std::scoped_lock lock(content_.mutex);
        ++content_.layOuts;
        return answer(laidOut(page, 0, resolution), content_.pages[page].renderError);
    }

    std::future<DocumentAnswer<LaidOutPage>> turn(const PagePicture& picture,
                                                  int quarterTurns) override
    {
        return answer(
            laidOut(pageOf(picture), turnsOf(picture) + quarterTurns, picture.resolution));
    }

    std::future<DocumentAnswer<std::vector<RecognizedLine>>>
    recognize(const PagePicture& picture, std::vector<PixelBox> lines,
              std::string language) override
    {
        const std::scoped_lock lock(content_.mutex);
        content_.linesRead[language] += static_cast<int>(lines.size());
        const FakePage& page = content_.pages[pageOf(picture)];
        if (content_.damaged.contains(language))
            return answer(std::vector<RecognizedLine>(),
                          DocumentError{DocumentError::Kind::recognition, "no engine"});
        std::vector<RecognizedLine> read;
        for (const PixelBox& line : lines)
            read.push_back(turnsOf(picture) == page.turns
                               ? asRead(page, line.top / line.height() - 24, language)
                               : RecognizedLine{"#", 30, 5, 0});
        return answer(std::move(read), page.recognitionError);
    }

    std::future<DocumentAnswer<PageOrientation>> orientation(const PagePicture& picture) override
    {
        const std::scoped_lock lock(content_.mutex);
        ++content_.orientations;
        const FakePage& page = content_.pages[pageOf(picture)];
        return answer(PageOrientation{page.turns, 9, page.script, 9});
    }

    DocumentAnswer<Data> render(std::size_t /*page*/, double /*resolution*/) override
    {
        return Data();
    }

    Result<void, PDFWriteError> write(const std::vector<PageTextLayer>& layers,
                                      const DocumentInformation& information, int output) override
    {
        content_.layers = layers;
        content_.information = information;
        if (content_.writeError) return failure(*content_.writeError);
        static_cast<void>(::write(output, "%PDF-searchable", 15));
        return {};
    }

private:
    template <typename T>
    static std::future<DocumentAnswer<T>> answer(T value, std::optional<DocumentError> error = {})
    {
        std::promise<DocumentAnswer<T>> promise;
        if (error) {
            promise.set_value(failure(*error));
        } else {
            promise.set_value(std::move(value));
        }
        return promise.get_future();
    }

    static std::size_t pageOf(const PagePicture& picture) { return picture.id / 4; }
    static int turnsOf(const PagePicture& picture) { return static_cast<int>(picture.id % 4); }

    LaidOutPage laidOut(std::size_t page, int turns, double resolution) const
    {
        const auto pixels = [&](double points) {
            return static_cast<int>(std::lround(points * resolution / 72));
        };
        LaidOutPage result{.picture = {.id = page * 4 + static_cast<std::size_t>(turns % 4),
                                       .width = pixels(600),
                                       .height = pixels(800),
                                       .resolution = resolution,
                                       .workTime = std::make_shared<WorkTime>()}};
        result.picture.workTime->add(content_.pages[page].work);
        const int height = pixels(16);
        for (std::size_t line = 0; line < content_.pages[page].lines.size(); ++line) {
            const int top = (24 + static_cast<int>(line)) * height;
            result.lines.push_back({pixels(60), top, pixels(360), top + height});
        }
        return result;
    }

    static RecognizedLine asRead(const FakePage& page, int line, const std::string& language)
    {
        const std::string& text = page.lines[static_cast<std::size_t>(line)];
        if (language == page.language) return {text, 95, 5, 5};
        if ((language == "rus") == (page.script == "Cyrillic")) return {"~" + text, 88, 5, 2};
        return {"#", 30, 5, 0};
    }

    FakeDocumentContent& content_;
};

/** Opens the same document whatever it is given. */
class FakeDocuments final : public DocumentService, public FakeDocumentContent {
public:
    DocumentAnswer<std::shared_ptr<OpenDocument>> open(const Data& /*pdf*/) override
    {
        if (openError) return failure(*openError);
        return std::make_shared<FakeDocument>(*this);
    }
    std::vector<std::string> languages() override { return FakeDocumentContent::languages; }
    std::size_t parallelism() const override { return 2; }
};

} // namespace korvane
