#include "lib/tesseract/PageReader.h"

#include "base/ProcessorTime.h"
#include "lib/tesseract/SidewaysText.h"

#include <tesseract/ocrclass.h>

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

namespace korvane {

namespace {

using std::chrono::milliseconds;

/** The language of a page gives a confidence of 90 and more, another one of the same script 70 and
 *  more, a page upside down less than 50. */
constexpr double poorConfidence = 65;

/** Tesseract reads letters of this height, of 7 points at 300 dpi, and larger ones nearly as well
 * at two thirds of the size, and takes less time. On pages with little text that is not worth an
 * accent that may get lost. */
constexpr int minHeightToReduce = 18;
constexpr std::size_t minLettersToReduce = 1000;
constexpr l_float32 reductionFactor = 2.0F / 3;

double meanConfidence(const std::vector<FoundLine>& lines)
{
    double sum = 0;
    std::size_t count = 0;
    for (const FoundLine& line : lines) {
        for (const FoundWord& word : line.words) sum += word.confidence;
        count += line.words.size();
    }
    return count == 0 ? 0 : sum / static_cast<double>(count);
}

} // namespace

PageReader::PageReader(LoadedPage& page, EngineCache& engines, std::string language,
                       milliseconds deadline)
    : page_(page), engines_(engines), language_(std::move(language)), deadline_(deadline)
{
}

Result<PageReading, std::string> PageReader::read()
{
    reading_ = {.bitmap = page_.size};
    const Letters letters = measureLetters(page_.straight);
    if (letters.count >= minLettersToReduce && letters.height >= minHeightToReduce)
        reduction_ = static_cast<double>(reductionFactor);
    auto lines = recognize(page_.straight.gray, tesseract::PSM_AUTO);
    if (lines && meanConfidence(*lines) < poorConfidence && !isOver() &&
        page_.correctOrientation(engines_))
        lines = recognize(page_.straight.gray, tesseract::PSM_AUTO);
    if (!lines) return failure(lines.error());
    reading_.confidence = meanConfidence(*lines);
    if (page_.orientation) reading_.script = page_.orientation->script;
    dropNoise(*lines);
    readSidewaysLines(*lines);
    return std::move(reading_);
}

/** Once the deadline has passed the reading stays incomplete. */
bool PageReader::isOver()
{
    if (processorTime() >= deadline_) reading_.isComplete = false;
    return !reading_.isComplete;
}

OwnedPix PageReader::reduced(const OwnedPix& bitmap) const
{
    const auto factor = static_cast<l_float32>(reduction_);
    return OwnedPix(reduction_ == 1 ? pixClone(bitmap.get())
                                    : pixScaleAreaMap(bitmap.get(), factor, factor));
}

PageReader::Lines PageReader::recognize(const OwnedPix& bitmap, tesseract::PageSegMode mode)
{
    if (isOver()) return std::vector<FoundLine>();
    RecognitionEngine* const engine = engines_.engine(language_);
    if (!engine) return failure("no engine for the language \"" + language_ + "\"");
    if (!bitmap) throw std::bad_alloc();
    tesseract::TessBaseAPI& api = engine->api();
    api.SetPageSegMode(mode);
    const OwnedPix image = reduced(bitmap);
    if (!image) throw std::bad_alloc();
    api.SetImage(image.get());
    api.SetSourceResolution(static_cast<int>(std::lround(page_.size.resolution * reduction_)));
    tesseract::ETEXT_DESC monitor;
    // Asked before each word; its own deadline would be one on the clock.
    monitor.cancel_this = this;
    monitor.cancel = [](void* reader, int) { return static_cast<PageReader*>(reader)->isOver(); };
    const int error = api.Recognize(&monitor);
    auto lines = error == 0 || !reading_.isComplete ? foundLines(api) : std::vector<FoundLine>();
    scale(lines, 1 / reduction_);
    api.Clear(); // what it holds of a page is more than the bitmap
    if (error != 0 && reading_.isComplete) return failure(std::string("Tesseract failed"));
    return lines;
}

void PageReader::takeLines(const std::vector<FoundLine>& lines, const PageGeometry& geometry)
{
    for (const FoundLine& line : lines) {
        reading_.lines.push_back(placed(line, geometry));
        for (const FoundWord& word : line.words) {
            if (!word.canBeLookedUp()) continue;
            ++reading_.words;
            if (word.isInDictionary) ++reading_.dictionaryWords;
        }
    }
}

/** Both directions are read: nothing but what is read there tells them apart. */
void PageReader::readSidewaysLines(std::vector<FoundLine>& upright)
{
    const auto strips = findStrips(page_.straight, upright, page_.size.resolution);
    if (strips.empty() || page_.geometry.isFanned()) return takeLines(upright, page_.geometry);
    const auto readTurned = [&](int quarterTurns) {
        auto lines = recognize(stripsAlone(page_.straight.gray, strips, quarterTurns),
                               tesseract::PSM_SPARSE_TEXT);
        return std::move(lines).value_or(std::vector<FoundLine>());
    };
    auto once = readTurned(1);
    auto thrice = readTurned(3);
    const SidewaysLines chosen = chooseDirections(strips, std::move(once), std::move(thrice),
                                                  pixGetWidth(page_.straight.gray.get()),
                                                  pixGetHeight(page_.straight.gray.get()));
    dropWordsInStrips(upright, chosen.strips);
    takeLines(upright, page_.geometry);
    takeLines(chosen.turnedOnce, turnedFurther(page_.geometry, 1));
    takeLines(chosen.turnedThrice, turnedFurther(page_.geometry, 3));
}

} // namespace korvane
