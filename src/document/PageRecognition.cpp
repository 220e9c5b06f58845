#include "document/PageRecognition.h"

#include "document/Gather.h"
#include "document/LanguageChoice.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace korvane {

namespace {

/** So many lines tell the language. */
constexpr std::size_t sampleSize = 4;
/** Lines read in one request: few enough that two cores finish a page together. */
constexpr std::size_t batchSize = 4;
/** The sample is waited for: it is spread more finely. */
constexpr std::size_t sampleBatch = 1;
/** Where a language reads a page badly, no more than so many others are tried. */
constexpr std::size_t mostTried = 6;
/** Tesseract's own measure of the certainty of an orientation. */
constexpr double sureOrientation = 1;
constexpr double sureScript = 0.5;

/** The widest lines hold most words. */
std::vector<std::size_t> widest(const std::vector<PixelBox>& lines, std::size_t count)
{
    std::vector<std::size_t> order(lines.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    count = std::min(count, order.size());
    std::partial_sort(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(count),
                      order.end(), [&](std::size_t left, std::size_t right) {
                          return std::pair(-lines[left].width(), left) <
                                 std::pair(-lines[right].width(), right);
                      });
    order.resize(count);
    std::sort(order.begin(), order.end());
    return order;
}

std::vector<PixelBox> boxesAt(const std::vector<PixelBox>& lines,
                              std::span<const std::size_t> indices)
{
    std::vector<PixelBox> boxes;
    for (const std::size_t index : indices) boxes.push_back(lines[index]);
    return boxes;
}

std::future<DocumentAnswer<std::vector<RecognizedLine>>> tooLate()
{
    std::promise<DocumentAnswer<std::vector<RecognizedLine>>> late;
    late.set_value(failure(DocumentError{.kind = DocumentError::Kind::recognition,
                                         .detail = "the page took longer than two minutes"}));
    return late.get_future();
}

} // namespace

/** The sampled lines as they read in a language. */
struct PageRecognition::Sample {
    std::string language;
    std::vector<RecognizedLine> texts;
    ReadingScore score;
};

PageRecognition::PageRecognition(OpenDocument& document, std::span<const std::string> languages,
                                 std::span<const std::string> users, std::size_t parallelism)
    : document_(document), languages_(languages), users_(users), parallelism_(parallelism)
{
}

void PageRecognition::takePage(LaidOutPage page)
{
    page_ = std::move(page);
    sampled_ = widest(page_.lines, sampleSize);
}

bool PageRecognition::isTooLate() const
{
    return page_.picture.workTime && page_.picture.workTime->total() > limit_;
}

DocumentAnswer<RecognizedPage> PageRecognition::read(LaidOutPage page,
                                                     std::chrono::milliseconds limit)
{
    limit_ = limit;
    readingTurns_ = 0;
    takePage(std::move(page));
    if (page_.lines.empty() || languages_.empty()) return RecognizedPage{.picture = page_.picture};
    auto sample = chooseLanguage();
    if (!sample) return failure(sample.error());
    return readRest(std::move(*sample));
}

DocumentAnswer<std::vector<RecognizedLine>>
PageRecognition::readLines(std::span<const std::size_t> indices, std::size_t atOnce,
                           const std::string& language)
{
    std::vector<RecognizedLine> lines;
    const auto read = gather<RecognizedLine>(
        (indices.size() + atOnce - 1) / atOnce, 2 * parallelism_,
        [&](std::size_t batch) {
            if (isTooLate()) return tooLate();
            const std::size_t first = batch * atOnce;
            const auto some = indices.subspan(first, std::min(atOnce, indices.size() - first));
            return document_.recognize(page_.picture, boxesAt(page_.lines, some), language);
        },
        [&](RecognizedLine line) { lines.push_back(std::move(line)); });
    if (!read) return failure(read.error());
    return lines;
}

DocumentAnswer<PageRecognition::Sample> PageRecognition::readSample(const std::string& language)
{
    auto texts = readLines(sampled_, sampleBatch, language);
    if (!texts) return failure(texts.error());
    const ReadingScore score = scoreReading(*texts);
    return Sample{.language = language, .texts = std::move(*texts), .score = score};
}

DocumentAnswer<PageRecognition::Sample> PageRecognition::chooseLanguage()
{
    std::vector<std::string> usual = languagesOfScript(
        scriptOfLanguage(users_.empty() ? "eng" : users_.front()), languages_, users_);
    if (usual.empty()) usual.assign(languages_.begin(), languages_.end());
    auto own = readFirstPossible(usual);
    if (!own || readsWell(own->score)) return own;
    if (!readsPoorly(own->score)) return tryOthers(std::move(*own), usual);

    const auto script = setUpright();
    if (!script) return failure(script.error());
    if (!script->empty()) {
        std::vector<std::string> written = languagesOfScript(*script, languages_, users_);
        if (!written.empty()) usual = std::move(written);
    }
    own = readFirstPossible(usual);
    if (!own || readsWell(own->score)) return own;
    return tryOthers(std::move(*own), usual);
}

/** A language whose data is damaged is passed over. */
DocumentAnswer<PageRecognition::Sample>
PageRecognition::readFirstPossible(std::vector<std::string>& languages)
{
    auto sample = readSample(languages.front());
    while (!sample && sample.error().kind == DocumentError::Kind::recognition &&
           languages.size() > 1) {
        languages.erase(languages.begin());
        sample = readSample(languages.front());
    }
    return sample;
}

DocumentAnswer<PageRecognition::Sample>
PageRecognition::tryOthers(Sample best, std::span<const std::string> languages)
{
    std::vector<std::string> others(languages.begin(), languages.end());
    std::erase(others, best.language);
    if (others.size() > mostTried) others.resize(mostTried);
    std::vector<std::future<DocumentAnswer<std::vector<RecognizedLine>>>> readings;
    for (const std::string& language : others)
        readings.push_back(
            document_.recognize(page_.picture, boxesAt(page_.lines, sampled_), language));
    for (std::size_t index = 0; index < others.size(); ++index) {
        auto texts = readings[index].get();
        // A language whose data is damaged is none to choose.
        if (!texts) continue;
        const ReadingScore score = scoreReading(*texts);
        if (readsBetter(score, best.score))
            best = {.language = others[index], .texts = std::move(*texts), .score = score};
    }
    return best;
}

DocumentAnswer<std::string> PageRecognition::setUpright()
{
    const auto orientation = document_.orientation(page_.picture).get();
    if (!orientation) {
        // Without the data for it, the page is read as it lies.
        if (orientation.error().kind == DocumentError::Kind::recognition) return std::string();
        return failure(orientation.error());
    }
    if (orientation->quarterTurns != 0 && orientation->confidence >= sureOrientation) {
        auto turned = document_.turn(page_.picture, orientation->quarterTurns).get();
        if (!turned) return failure(turned.error());
        readingTurns_ = orientation->quarterTurns;
        takePage(std::move(*turned));
    }
    return orientation->scriptConfidence >= sureScript ? orientation->script : std::string();
}

DocumentAnswer<RecognizedPage> PageRecognition::readRest(Sample sample)
{
    std::vector<std::size_t> rest;
    for (std::size_t index = 0; index < page_.lines.size(); ++index)
        if (!std::binary_search(sampled_.begin(), sampled_.end(), index)) rest.push_back(index);

    auto texts = readLines(rest, batchSize, sample.language);
    if (!texts) return failure(texts.error());

    RecognizedPage page{.picture = page_.picture, .readingTurns = readingTurns_};
    page.texts.resize(page_.lines.size());
    for (std::size_t index = 0; index < sampled_.size(); ++index)
        page.texts[sampled_[index]] = std::move(sample.texts[index]);
    for (std::size_t index = 0; index < rest.size(); ++index)
        page.texts[rest[index]] = std::move((*texts)[index]);
    page.lines = std::move(page_.lines);
    return page;
}

} // namespace korvane
