#include "platform/tesseract/TextRecognizer.h"

#include <leptonica/allheaders.h>
#include <tesseract/baseapi.h>
#include <tesseract/osdetect.h>
#include <tesseract/resultiterator.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace korvane {

namespace {

/** A line's picture is taken with so many pixels around it, as the recogniser itself does. */
constexpr int linePadding = 4;

/** Noise can look like lines without end. */
constexpr std::size_t mostLines = 4000;

/** The one that finds lines, that of the user's language, and two more. */
constexpr std::size_t mostEngines = 4;

struct FreePix {
    void operator()(Pix* pix) const { pixDestroy(&pix); }
};
using OwnedPix = std::unique_ptr<Pix, FreePix>;

std::string take(char* text)
{
    const std::unique_ptr<char[]> owned(text);
    return owned ? std::string(owned.get()) : std::string();
}

/** Whether a word could be looked up: three letters and no digit. */
bool isWord(const std::string& word)
{
    const auto characters = std::count_if(word.begin(), word.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
    });
    return characters >= 3 && word.find_first_of("0123456789") == std::string::npos;
}

void addWord(RecognizedLine& line, const tesseract::ResultIterator& word)
{
    const std::string text = take(word.GetUTF8Text(tesseract::RIL_WORD));
    if (!isWord(text)) return;
    ++line.words;
    if (word.WordIsFromDictionary()) ++line.dictionaryWords;
}

/** What was recognised in one rectangle, on one line. */
RecognizedLine readResult(tesseract::TessBaseAPI& api)
{
    RecognizedLine line;
    line.text = take(api.GetUTF8Text());
    line.text.erase(line.text.find_last_not_of("\n ") + 1);
    std::replace(line.text.begin(), line.text.end(), '\n', ' ');
    const std::unique_ptr<tesseract::ResultIterator> word(api.GetIterator());
    if (!word || word->Empty(tesseract::RIL_WORD)) return line;
    double confidence = 0;
    int count = 0;
    do {
        confidence += static_cast<double>(word->Confidence(tesseract::RIL_WORD));
        ++count;
        addWord(line, *word);
    } while (word->Next(tesseract::RIL_WORD));
    line.confidence = confidence / count;
    return line;
}

} // namespace

/** The picture, and whether an engine has it already. */
class TextRecognizer::Pixels {
public:
    explicit Pixels(OwnedPix image) : image_(std::move(image)) {}

    Pix* get() const { return image_.get(); }

private:
    OwnedPix image_;
};

/** One Tesseract engine. An empty language makes one that only finds lines, "osd" one that finds
 *  the orientation. */
class TextRecognizer::Engine {
public:
    explicit Engine(std::string language) : language_(std::move(language))
    {
        api_.SetVariable("debug_file", "/dev/null");
        if (language_.empty()) {
            api_.InitForAnalysePage();
            ready_ = true;
        } else {
            const auto mode =
                language_ == "osd" ? tesseract::OEM_TESSERACT_ONLY : tesseract::OEM_LSTM_ONLY;
            ready_ = api_.Init(nullptr, language_.c_str(), mode) == 0;
        }
    }

    const std::string& language() const { return language_; }
    bool isReady() const { return ready_; }

    std::vector<std::string> availableLanguages() const
    {
        std::vector<std::string> found;
        api_.GetAvailableLanguagesAsVector(&found);
        return found;
    }

    /** The API with the picture set, which is copied only when it is another one. */
    tesseract::TessBaseAPI& look(const Pixels& pixels, double resolution)
    {
        if (pixels_ != &pixels) {
            api_.SetImage(pixels.get());
            api_.SetSourceResolution(static_cast<int>(std::lround(resolution)));
            pixels_ = &pixels;
        }
        return api_;
    }

    /** Lets go of the picture. */
    void forget()
    {
        if (std::exchange(pixels_, nullptr)) api_.Clear();
    }

private:
    std::string language_;
    tesseract::TessBaseAPI api_;
    bool ready_ = false;
    const Pixels* pixels_ = nullptr;
};

TextRecognizer::TextRecognizer()
{
    setMsgSeverity(L_SEVERITY_NONE);
}

TextRecognizer::~TextRecognizer() = default;

std::vector<std::string> TextRecognizer::languages()
{
    // Only an engine that has found its own data knows what lies beside it.
    const auto ready = std::find_if(engines_.begin(), engines_.end(),
                                    [](const auto& engine) { return !engine->language().empty(); });
    Engine* const any = ready != engines_.end() ? ready->get() : engine("eng");
    if (!any && !engine("osd")) return {};
    std::vector<std::string> found = (any ? any : engine("osd"))->availableLanguages();
    std::erase_if(found, [](const std::string& name) {
        return name == "osd" || name == "equ" || name.find('/') != std::string::npos;
    });
    std::sort(found.begin(), found.end());
    return found;
}

void TextRecognizer::prepare(const std::string& language)
{
    preparedLanguage_ = language;
    engine("");
    engine(language);
}

bool TextRecognizer::load(const Picture& picture,
                          const std::function<bool(int, std::span<std::uint8_t>)>& fill)
{
    clear();
    OwnedPix image(pixCreateNoInit(picture.width, picture.height, 8));
    if (!image) return false;
    const auto width = static_cast<std::size_t>(picture.width);
    std::vector<std::uint8_t> row(width);
    for (int y = 0; y < picture.height; ++y) {
        if (!fill(y, row)) return false;
        l_uint32* const line =
            pixGetData(image.get()) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(image.get());
        for (std::size_t x = 0; x < width; ++x) SET_DATA_BYTE(line, x, row[x]);
    }
    pixels_ = std::make_unique<Pixels>(std::move(image));
    resolution_ = picture.resolution;
    return true;
}

void TextRecognizer::clear()
{
    for (const auto& engine : engines_) engine->forget();
    pixels_.reset();
}

bool TextRecognizer::turn(int quarterTurns)
{
    if (!pixels_ || quarterTurns % 4 == 0) return pixels_ != nullptr;
    OwnedPix turned(pixRotateOrth(pixels_->get(), quarterTurns % 4));
    for (const auto& engine : engines_) engine->forget();
    if (!turned) return false;
    pixels_ = std::make_unique<Pixels>(std::move(turned));
    return true;
}

TextRecognizer::Picture TextRecognizer::picture() const
{
    if (!pixels_) return {};
    return {.width = pixGetWidth(pixels_->get()),
            .height = pixGetHeight(pixels_->get()),
            .resolution = resolution_};
}

void TextRecognizer::copyRow(int row, std::span<std::uint8_t> pixels) const
{
    const l_uint32* const line =
        pixGetData(pixels_->get()) + static_cast<std::ptrdiff_t>(row) * pixGetWpl(pixels_->get());
    for (std::size_t x = 0; x < pixels.size(); ++x) pixels[x] = GET_DATA_BYTE(line, x);
}

TextRecognizer::Engine* TextRecognizer::engine(const std::string& language)
{
    const auto found = std::find_if(engines_.begin(), engines_.end(), [&](const auto& engine) {
        return engine->language() == language;
    });
    if (found != engines_.end()) {
        std::rotate(found, found + 1, engines_.end());
        return engines_.back().get();
    }
    auto made = std::make_unique<Engine>(language);
    if (!made->isReady()) return nullptr;
    if (engines_.size() >= mostEngines) forgetEngine();
    engines_.push_back(std::move(made));
    return engines_.back().get();
}

/** Lets the engine go that was not used for longest, but not those that every page needs. */
void TextRecognizer::forgetEngine()
{
    const auto oldest = std::find_if(engines_.begin(), engines_.end(), [&](const auto& engine) {
        return !engine->language().empty() && engine->language() != preparedLanguage_;
    });
    if (oldest != engines_.end()) engines_.erase(oldest);
}

TextRecognizer::Answer<std::vector<PixelBox>> TextRecognizer::findLines()
{
    Engine* const finder = engine("");
    if (!finder || !pixels_) return failure(std::string("no picture to find lines in"));
    tesseract::TessBaseAPI& api = finder->look(*pixels_, resolution_);
    api.SetPageSegMode(tesseract::PSM_AUTO);
    std::vector<PixelBox> lines;
    if (const std::unique_ptr<tesseract::PageIterator> line{api.AnalyseLayout()}) {
        do {
            PixelBox box;
            if (line->BoundingBox(tesseract::RIL_TEXTLINE, &box.left, &box.top, &box.right,
                                  &box.bottom))
                lines.push_back(box);
        } while (line->Next(tesseract::RIL_TEXTLINE) && lines.size() < mostLines);
    }
    // What the layout was found with takes more memory than the picture.
    finder->forget();
    return lines;
}

TextRecognizer::Answer<std::vector<RecognizedLine>>
TextRecognizer::recognize(std::span<const PixelBox> lines, const std::string& language)
{
    Engine* const reader = engine(language);
    if (!reader) return failure("no engine for the language \"" + language + "\"");
    if (!pixels_) return failure(std::string("no picture to read"));
    tesseract::TessBaseAPI& api = reader->look(*pixels_, resolution_);
    api.SetPageSegMode(tesseract::PSM_RAW_LINE);
    const Picture whole = picture();
    std::vector<RecognizedLine> read;
    read.reserve(lines.size());
    for (const PixelBox& line : lines) {
        const int left = std::clamp(line.left - linePadding, 0, whole.width);
        const int top = std::clamp(line.top - linePadding, 0, whole.height);
        const int right = std::clamp(line.right + linePadding, left, whole.width);
        const int bottom = std::clamp(line.bottom + linePadding, top, whole.height);
        read.emplace_back();
        if (right == left || bottom == top) continue;
        api.SetRectangle(left, top, right - left, bottom - top);
        if (api.Recognize(nullptr) != 0) return failure(std::string("Tesseract gave up"));
        read.back() = readResult(api);
    }
    return read;
}

TextRecognizer::Answer<PageOrientation> TextRecognizer::orientation()
{
    Engine* const detector = engine("osd");
    if (!detector) return failure(std::string("no data for orientation detection (osd)"));
    if (!pixels_) return failure(std::string("no picture to turn"));
    tesseract::TessBaseAPI& api = detector->look(*pixels_, resolution_);
    api.SetPageSegMode(tesseract::PSM_OSD_ONLY);
    int degrees = 0;
    float confidence = 0;
    const char* script = nullptr;
    float scriptConfidence = 0;
    PageOrientation found;
    // Too few letters to tell from leave the page as it is.
    if (api.DetectOrientationScript(&degrees, &confidence, &script, &scriptConfidence)) {
        found.quarterTurns = (4 - degrees / 90 % 4) % 4;
        found.confidence = static_cast<double>(confidence);
        found.script = script ? script : "";
        found.scriptConfidence = static_cast<double>(scriptConfidence);
    }
    detector->forget();
    return found;
}

} // namespace korvane
